#pragma once

#include <sys/types.h>

#include <array>
#include <functional>

// An agent of four threads in a process of its own, at work on the cache until the object goes.
class BusyAgent {
  public:
    // Calls `work` with 0, 1, 2, ... on the four threads, each number once, at most `most` times.
    using Work = std::function<void(int)>;
    // `as_agent` runs what it is given as an agent, in this or in another process.
    BusyAgent(std::function<void(std::function<void()> const&)> const& as_agent, Work const& work, int most);
    ~BusyAgent();
    BusyAgent(BusyAgent const&) = delete;
    BusyAgent& operator=(BusyAgent const&) = delete;

  private:
    void Run(Work const& work, int most) const;

    std::array<int, 2> end_{-1, -1};      // closed by the test when it is over
    std::array<int, 2> started_{-1, -1};  // written to by the agent when all threads have begun
    pid_t child_ = -1;
};
