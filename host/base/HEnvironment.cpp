#include "host/base/HEnvironment.h"

#include <cerrno>
#include <ctime>

void HEnvironment::Sleep(int milliseconds) noexcept {
    if (milliseconds <= 0) return;
    constexpr long kNanosecondsPerSecond = 1'000'000'000;
    // Until a moment, not for a while: an interrupted sleep goes on to the same end.
    timespec end{};
    if (::clock_gettime(CLOCK_MONOTONIC, &end) != 0) return;
    end.tv_sec += milliseconds / 1000;
    end.tv_nsec += milliseconds % 1000 * 1'000'000L;
    if (end.tv_nsec >= kNanosecondsPerSecond) {
        ++end.tv_sec;
        end.tv_nsec -= kNanosecondsPerSecond;
    }
    while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}
