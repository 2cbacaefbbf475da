#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace torvane {

// The directory that a new root is made in: one that is missing or empty, outside the source. What was made in it goes
// again unless Keep was called, and one that was there gets its mode back. One object, one thread.
class OutRoot {
  public:
    // Makes it (mode 0700). Throws Stop: kUsage when it holds something, is no directory or lies in the source, also
    // where a link in the source leads to, kIo when it cannot be made.
    OutRoot(std::string const& path, std::string const& source);
    ~OutRoot();
    OutRoot(OutRoot const&) = delete;
    OutRoot& operator=(OutRoot const&) = delete;

    [[nodiscard]] std::string const& path() const { return path_; }
    void Keep() { keep_ = true; }

  private:
    void Make();
    void TakeBack() noexcept;

    std::string path_;
    std::filesystem::path first_made_;
    bool was_there_ = false;
    mode_t mode_ = 0;  // before, of one that was there
    bool keep_ = false;
};

}  // namespace torvane
