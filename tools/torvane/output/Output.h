#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tools/torvane/output/Escape.h"

namespace torvane {

using Json = nlohmann::ordered_json;

enum class Format { kTable, kJson, kJsonl, kCsv };

// Names a form of JSON for those who read it: share/torvane/schema/<name>-<version>.json describes it.
struct Schema {
    char const* name;
    int version;
};

// A column of a list: the member of each row that it shows.
struct Column {
    std::string name;
    std::string title;
    bool number = false;  // to the right
};

// When a table shows its columns' titles.
enum class Titles {
    kAlways,
    kWithRows,  // what was found says itself in words, too
};

// Thrown when nobody reads the output any more: ends the program quietly with kYes. No std::exception, so that nobody
// takes it for a failure on the way.
struct ClosedPipe {};

// Where a command's answer goes, in the form that was asked for. Texts may hold anything: what does not print and bytes
// that are not UTF-8 are escaped in every form. Throws Stop(kIo) when the output cannot be written and ClosedPipe when
// it is a pipe that was closed. What is written may wait in memory until Flush, Answer or EndList. One object, one
// thread.
class Output {
  public:
    Output(Format format, bool color, std::FILE* file);
    ~Output();
    Output(Output const&) = delete;
    Output& operator=(Output const&) = delete;

    // A list, row by row, in constant memory: a table's widths are those of its first rows, a wider cell pushes the
    // rest of its row to the right. A row is an object; tables and CSV show the columns' members (a missing one or null
    // as nothing, a list or object as JSON), JSON all of them. `more` joins the list's own object in kJson.
    void BeginList(Schema const& schema, std::vector<Column> columns, Titles titles = Titles::kAlways);
    void Row(Json const& row);
    void EndList(Json const& more = Json::object());

    // One answer: an object in kJson and kJsonl, one line of its scalar members in kCsv; else what `print` writes.
    void Answer(Schema const& schema, Json const& answer, std::function<void(Output&)> const& print);

    // For people: a line of a table's surroundings; escapes what does not print. Nothing in the other forms.
    void Line(std::string const& text, Backslash backslash = Backslash::kDoubled);
    // Text with a colour, or as it is without colours. To be passed to Line, as it is or within a longer text.
    enum class Paint { kBad, kGood, kWarning, kFaint, kBold };
    [[nodiscard]] std::string Painted(std::string const& text, Paint paint) const;

    // From now on nothing is thrown for a closed pipe, and nothing written to it: for commands whose status counts
    // although nobody reads what they say.
    void OutliveReader();

    // Writes out what waits; whoever owns the object calls it last, since a destructor cannot fail.
    void Flush();

    [[nodiscard]] Format format() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace torvane
