#include "tools/torvane/output/Output.h"

#include <fmt/format.h>

#include <cstdint>
#include <random>
#include <string_view>
#include <utility>

#include "tools/torvane/output/ListWriter.h"
#include "tools/torvane/output/Sink.h"

namespace torvane {
namespace {

constexpr char kPlain[] = "\x1b[0m";

char const* CodeOf(Output::Paint paint) {
    switch (paint) {
        case Output::Paint::kBad:
            return "\x1b[31m";
        case Output::Paint::kGood:
            return "\x1b[32m";
        case Output::Paint::kWarning:
            return "\x1b[33m";
        case Output::Paint::kFaint:
            return "\x1b[2m";
        case Output::Paint::kBold:
            return "\x1b[1m";
    }
    return kPlain;
}

// Begins a mark of paint in a text. A text from a file could hold any fixed one and would then colour the terminal, so
// that it is drawn anew for each process.
std::string DrawnMark() {
    std::random_device device;
    std::uint64_t const drawn = std::uint64_t{device()} << 32 | device();
    return fmt::format("\x1b{:016x}", drawn);
}

}  // namespace

struct Output::State {
    State(Format form, bool colored, std::FILE* file) : format(form), color(colored), sink(file), mark(DrawnMark()) {}

    // The text made printable, its marks turned into colours.
    [[nodiscard]] std::string Rendered(std::string_view text, Backslash backslash) const {
        std::string line;
        for (std::size_t at = text.find(mark); at != std::string_view::npos; at = text.find(mark)) {
            line += Printable(text.substr(0, at), backslash);
            text.remove_prefix(at + mark.size());
            if (text.empty()) break;
            line += text[0] == '-' ? kPlain : CodeOf(static_cast<Paint>(text[0] - '0'));
            text.remove_prefix(1);
        }
        return line + Printable(text, backslash);
    }

    Format format;
    bool color;
    Sink sink;
    std::string mark;
    std::unique_ptr<ListWriter> list;
};

Output::Output(Format format, bool color, std::FILE* file) : state_(std::make_unique<State>(format, color, file)) {}

Output::~Output() = default;

void Output::BeginList(Schema const& schema, std::vector<Column> columns, Titles titles) {
    bool const bold = state_->color;
    ListWriter::Look const look{titles, bold ? CodeOf(Paint::kBold) : "", bold ? kPlain : ""};
    state_->list = ListWriter::Make(state_->format, state_->sink, schema, std::move(columns), look);
}

void Output::Row(Json const& row) {
    state_->list->Row(row);
}

void Output::EndList(Json const& more) {
    state_->list->End(more);
    state_->list.reset();
    state_->sink.Flush();
}

void Output::Answer(Schema const& schema, Json const& answer, std::function<void(Output&)> const& print) {
    Json const document = WithSchema(schema, answer);
    switch (state_->format) {
        case Format::kTable:
            print(*this);
            break;
        case Format::kJson:
            state_->sink.Write(JsonText(document, 2) + "\n");
            break;
        case Format::kJsonl:
            state_->sink.Write(JsonText(document, -1) + "\n");
            break;
        case Format::kCsv: {
            std::vector<Column> columns;
            for (auto const& item : answer.items())
                if (!item.value().is_structured()) columns.push_back({item.key(), item.key()});
            ListWriter::Make(Format::kCsv, state_->sink, schema, std::move(columns), {})->Row(answer);
            break;
        }
    }
    state_->sink.Flush();
}

void Output::Line(std::string const& text, Backslash backslash) {
    if (state_->format != Format::kTable) return;
    if (state_->list) state_->list->Settle();
    state_->sink.Write(state_->Rendered(text, backslash) + "\n");
}

std::string Output::Painted(std::string const& text, Paint paint) const {
    if (!state_->color || state_->format != Format::kTable) return text;
    return state_->mark + std::to_string(static_cast<int>(paint)) + text + state_->mark + "-";
}

void Output::OutliveReader() {
    state_->sink.OutliveReader();
}

void Output::Flush() {
    if (state_->list) state_->list->Settle();
    state_->sink.Flush();
}

Format Output::format() const {
    return state_->format;
}

}  // namespace torvane
