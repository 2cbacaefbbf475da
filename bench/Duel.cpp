#include "bench/Duel.h"

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

namespace bench {
namespace {

constexpr double kBlockNanoseconds = 5e5;  // short, so that most blocks run without interruption

// Operations that take about a block's time, tried with growing numbers of them.
std::size_t Calibrate(Operation const& operation, std::size_t& next) {
    for (std::size_t count = 1;; count *= 4) {
        double const start = Now();
        for (std::size_t i = 0; i < count; ++i)
            operation(next++);
        double const each = (Now() - start) / static_cast<double>(count);
        if (each * static_cast<double>(count) < kBlockNanoseconds / 4) continue;
        return std::max<std::size_t>(1, static_cast<std::size_t>(kBlockNanoseconds / each));
    }
}

}  // namespace

double Now() {
    auto const since = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::nano>(since).count();
}

Side Repeat(Operation operation, std::size_t count) {
    return [operation = std::move(operation), count, next = std::size_t{0}]() mutable {
        if (count == 0) count = Calibrate(operation, next);
        double const start = Now();
        for (std::size_t i = 0; i < count; ++i)
            operation(next++);
        return (Now() - start) / static_cast<double>(count);
    };
}

Side OneByOne(Operation operation, std::function<void()> after, std::size_t count) {
    return [operation = std::move(operation), after = std::move(after), count, next = std::size_t{0}]() mutable {
        std::vector<double> times;
        for (std::size_t i = 0; i < count; ++i) {
            double const start = Now();
            operation(next++);
            times.push_back(Now() - start);
            after();
        }
        return SpreadOf(std::move(times)).median;
    };
}

Round Duel(Side ours, Side other) {
    return [ours = std::move(ours), other = std::move(other)] {
        double const ours_first = ours();
        double const other_second = other();
        double const other_third = other();
        double const ours_last = ours();
        return Sample{(ours_first + ours_last) / 2, (other_second + other_third) / 2};
    };
}

}  // namespace bench
