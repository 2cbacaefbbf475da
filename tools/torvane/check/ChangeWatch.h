#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

namespace torvane {

// Whether a further write by `now` may leave the same time stamp: kernels advance their clock for them in steps. Not so
// of a time still to come, which tells that the clock was set back since.
[[nodiscard]] bool IsJustWritten(struct timespec const& written, struct timespec const& now);

// Remembers how files and directories were before they were read, to tell afterwards whether what was read may be of
// two states. One object, one thread.
class ChangeWatch {
  public:
    // To be called before the path is opened. Missing ones count too. Once per path and round.
    void Add(std::string const& path);
    // Whether one of them is another one by now, has been written, has come or gone.
    [[nodiscard]] bool HasChanged() const;
    // The same, or one had been written just before it was added: a further write may have left the same time stamp
    // behind, as the kernel's clock for them advances in steps.
    [[nodiscard]] bool MayHaveChanged() const;
    // Whether one was written so lately that a further write may have left the same time stamp behind.
    [[nodiscard]] bool IsFresh() const;

  private:
    struct Seen {
        std::string path;
        bool exists = false;
        bool just_written = false;
        struct stat status {};
    };
    [[nodiscard]] static Seen LookAt(std::string const& path);
    [[nodiscard]] static bool IsSame(Seen const& a, Seen const& b);

    std::vector<Seen> seen_;
};

}  // namespace torvane
