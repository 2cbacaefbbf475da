#pragma once

#include <string>

namespace bench {

// A directory of its own below $TMPDIR (else /tmp), removed with the object.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    [[nodiscard]] std::string const& path() const { return path_; }
    [[nodiscard]] std::string File(char const* name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

}  // namespace bench
