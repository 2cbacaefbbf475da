#pragma once

#include <chrono>

namespace torvane {

// For commands that go on until somebody ends them: while one of these lives, the first SIGINT or SIGTERM only ends
// Wait, so that a list can be finished. One at a time; the main thread.
class Pause {
  public:
    Pause();
    ~Pause();
    Pause(Pause const&) = delete;
    Pause& operator=(Pause const&) = delete;

    // Waits that long; false when the program is to end. Throws ClosedPipe when nobody reads stdout any more.
    [[nodiscard]] bool Wait(std::chrono::milliseconds time) const;
};

}  // namespace torvane
