#include "host/base/HEnvironment.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <limits>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

volatile std::sig_atomic_t interruptions = 0;

void CountInterruption(int) {
    interruptions = interruptions + 1;
}

// Sends this process a signal every two milliseconds; its handler lets no system call begin anew by itself.
class Interruptions {
  public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = &CountInterruption;
        sigaction(SIGALRM, &action, nullptr);
        Every(2000);
    }
    ~Interruptions() {
        Every(0);
        std::signal(SIGALRM, SIG_DFL);
    }
    Interruptions(Interruptions const&) = delete;
    Interruptions& operator=(Interruptions const&) = delete;

  private:
    static void Every(suseconds_t microseconds) {
        itimerval const timer{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
};

TEST(HEnvironment, RestsForNoLessThanAsked) {
    auto const start = Clock::now();
    HEnvironment::Sleep(7);
    EXPECT_GE(Clock::now() - start, milliseconds(7));
}

TEST(HEnvironment, NothingAndLessAreNoRest) {
    // Taken for an unsigned number, these are weeks: the test would run out of time.
    HEnvironment::Sleep(0);
    HEnvironment::Sleep(-1);
    HEnvironment::Sleep(std::numeric_limits<int>::min());
}

TEST(HEnvironment, SignalsDoNotCutARestShort) {
    Interruptions const signals;
    auto const start = Clock::now();
    HEnvironment::Sleep(30);
    EXPECT_GE(Clock::now() - start, milliseconds(30));
    EXPECT_GT(interruptions, 0);
}

// A rest whose end lies in the next second.
TEST(HEnvironment, RestsAddUpAcrossSeconds) {
    auto const start = Clock::now();
    for (int rest = 0; rest < 3; ++rest)
        HEnvironment::Sleep(401);
    EXPECT_GE(Clock::now() - start, milliseconds(1203));
}

}  // namespace
