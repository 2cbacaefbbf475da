#pragma once

#include <cstdio>
#include <string_view>

namespace torvane {

// The file that output goes to, which it does not own. Throws as Output does. One thread.
class Sink {
  public:
    explicit Sink(std::FILE* file);

    void Write(std::string_view bytes);
    void Flush();
    // See Output.
    void OutliveReader() { outlives_ = true; }

  private:
    void Fail(int error);

    std::FILE* file_;
    bool on_terminal_;       // where a line of progress may stand in the way
    bool outlives_ = false;  // a closed pipe is no reason to end
    bool closed_ = false;
};

}  // namespace torvane
