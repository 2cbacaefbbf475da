#pragma once

#include <string>
#include <vector>

#include "tests/support/SoundRoot.h"

// A fresh root directory for one test: made under the system's temporary directory, set as the process's root, removed
// with the object. A cache that is in it at the end must be sound (tests/support/SoundRoot.h).
class TempRoot {
  public:
    TempRoot();
    ~TempRoot();
    TempRoot(TempRoot const&) = delete;
    TempRoot& operator=(TempRoot const&) = delete;

    [[nodiscard]] std::string const& Path() const { return path_; }  // without a separator at its end
    [[nodiscard]] std::string operator/(std::string const& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

// Whole files for tests; failures are test failures. Who writes into a cache need not leave it sound.
std::string ReadBytes(std::string const& path);
void WriteBytes(std::string const& path, std::string const& bytes);
std::string FromHex(std::string const& hex);  // blanks and line ends are skipped
bool Exists(std::string const& path);
// The names in a directory, sorted; none when it is missing.
std::vector<std::string> Files(std::string const& directory);
