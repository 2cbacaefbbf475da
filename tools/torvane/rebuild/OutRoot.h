#pragma once

#include <filesystem>
#include <string>

namespace torvane {

// The directory that a new root is made in: one that is missing or empty, outside the source. What was made in it goes
// again unless Keep was called. One object, one thread.
class OutRoot {
  public:
    // Makes it (mode 0700). Throws Stop: kUsage when it holds something, is no directory or lies in the source or
    // around it, kIo when it cannot be made.
    OutRoot(std::string const& path, std::string const& source);
    ~OutRoot();
    OutRoot(OutRoot const&) = delete;
    OutRoot& operator=(OutRoot const&) = delete;

    [[nodiscard]] std::string const& path() const { return path_; }
    void Keep() { keep_ = true; }

  private:
    std::string path_;
    std::filesystem::path first_made_;
    bool was_there_ = false;
    bool keep_ = false;
};

}  // namespace torvane
