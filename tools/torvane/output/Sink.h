#pragma once

#include <cstdio>
#include <string_view>

namespace torvane {

// The file that output goes to, which it does not own. Throws as Output does. One thread.
class Sink {
  public:
    explicit Sink(std::FILE* file) : file_(file) {}

    void Write(std::string_view bytes);
    void Flush();

  private:
    std::FILE* file_;
};

}  // namespace torvane
