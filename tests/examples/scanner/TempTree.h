#pragma once

#include <string>

#include "tests/support/SoundRoot.h"

// A directory for one test, removed with the object. Names are relative to it. A cache that is in it at
// the end must be sound (tests/support/SoundRoot.h).
class TempTree {
  public:
    TempTree();
    ~TempTree();
    TempTree(TempTree const&) = delete;
    TempTree& operator=(TempTree const&) = delete;

    [[nodiscard]] std::string const& Path() const { return path_; }
    [[nodiscard]] std::string operator/(std::string const& name) const { return path_ + "/" + name; }
    // Writes a file and the directories above it; gives its path.
    std::string Write(std::string const& name, std::string const& content) const;
    [[nodiscard]] std::string Read(std::string const& name) const;

  private:
    std::string path_;
};

// `text` in the gzip format, as one member.
std::string Gzip(std::string const& text);
