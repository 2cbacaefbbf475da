#include "tests/tools/torvane/BusyAgent.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <latch>
#include <thread>
#include <vector>

BusyAgent::BusyAgent(std::function<void(std::function<void()> const&)> const& as_agent, Work const& work, int most) {
    EXPECT_EQ(::pipe2(end_.data(), O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(started_.data(), O_CLOEXEC), 0);
    child_ = ::fork();
    if (child_ == 0) {
        ::close(end_[1]);
        ::close(started_[0]);
        as_agent([&] { Run(work, most); });
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    ::close(end_[0]);
    ::close(started_[1]);
    char byte = 0;
    EXPECT_EQ(::read(started_[0], &byte, 1), 1) << "the agent has not begun";
}

BusyAgent::~BusyAgent() {
    ::close(end_[1]);
    ::close(started_[0]);
    int status = -1;
    EXPECT_EQ(::waitpid(child_, &status, 0), child_);
    EXPECT_EQ(status, 0) << "the agent failed";
}

void BusyAgent::Run(Work const& work, int most) const {
    constexpr int kThreads = 4;
    std::atomic<bool> over{false};
    std::atomic<int> next{0};
    std::latch all_begun(kThreads);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&] {
            bool begun = false;
            while (!over) {
                int const turn = next++;
                if (turn < most) work(turn);
                if (!begun) all_begun.count_down();
                begun = true;
                if (turn >= most) return;
            }
            if (!begun) all_begun.count_down();
        });
    }
    all_begun.wait();
    EXPECT_EQ(::write(started_[1], "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(::read(end_[0], &byte, 1), 0);  // until the test closes its end
    over = true;
    for (auto& thread : threads)
        thread.join();
}
