#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tools/torvane/cache/FileView.h"

namespace torvane {

// Reads a log file line by line while others write and rotate it: what is new since the last look, the renamed file to
// its end, then the new one from its start. A line that is longer than kMostLine is cut there. Opens for reading and
// nothing else. Throws Stop(kIo) when the file cannot be read or is no regular file. One object, one thread.
class LogFollower {
  public:
    static constexpr std::size_t kMostLine = std::size_t{1} << 20;
    using Sink = std::function<void(std::string_view line)>;
    using Filter = std::function<bool(std::string_view line)>;

    explicit LogFollower(std::string path);

    // Whether there has been a file yet.
    [[nodiscard]] bool IsOpen() const { return file_.state() == FileView::State::kOpen; }
    // Goes to where the last `count` lines begin that `passes` lets through; an unfinished one at the end is a line.
    void GoToLast(std::uint64_t count, Filter const& passes);
    // The whole lines that are there by now.
    void Read(Sink const& sink);
    // What stands behind the last line end, if anything does.
    void ReadUnfinished(Sink const& sink);

  private:
    void Open();
    void ReadFile(Sink const& sink);
    void Take(std::string_view bytes, Sink const& sink);
    [[nodiscard]] bool IsRotated() const;
    [[nodiscard]] bool IsCut() const;
    void GoTo(std::uint64_t position);

    std::string path_;
    FileView file_;
    std::uint64_t position_ = 0;    // of what is read next
    std::uint64_t line_start_ = 0;  // of the line that `unfinished_` is the beginning of
    std::string unfinished_;
    std::uint64_t passed_over_ = 0;  // end of an unfinished line that is not among the last ones that were wanted
};

}  // namespace torvane
