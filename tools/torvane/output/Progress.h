#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

namespace torvane {

// How far a long piece of work is, as one line on stderr that is rewritten and removed at the end. Shown only on a
// terminal, only after the first second, at most ten times a second. Output removes the line before it writes, so that
// the two do not mix on one terminal. One at a time; one thread.
class Progress {
  public:
    using Clock = std::chrono::steady_clock;

    // `wanted`: Settings::progress. `what`: "Checking", say.
    Progress(bool wanted, std::string what);
    // Where the line goes and what time it is.
    Progress(bool shown, std::string what, std::FILE* file, std::function<Clock::time_point()> now);
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    // `done` of `total` steps (bytes, slots); a total of 0 is one that is not known. `where`: what is being looked at.
    // Cheap: may be called for every slot.
    void At(std::uint64_t done, std::uint64_t total, std::string const& where = "");

    // The same for a large step, a store or a block of a file: asks for the time at every call.
    void AtBlock(std::uint64_t done, std::uint64_t total, std::string const& where = "");

    // Takes the line away, if there is one, until the next At.
    static void Hide();

  private:
    void Show(std::uint64_t done, std::uint64_t total, std::string const& where);
    void Erase();

    bool shown_;
    std::string what_;
    std::FILE* file_;
    std::function<Clock::time_point()> now_;
    Clock::time_point next_;
    bool visible_ = false;
    unsigned skipped_ = 0;  // calls since the clock was last asked
    static Progress* current_;
};

}  // namespace torvane
