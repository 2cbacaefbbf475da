#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <type_traits>

#include "tests/support/fault/AllocationFailure.h"

// Operations while memory runs out. To be used with torvane_allocation_failure; each stops at the first failed
// expectation, whose trace names the allocation.
namespace fault {

using Extent = AllocationFailure::Extent;

// Runs `work()` while the nth allocation fails. False when it makes fewer.
template <class Work>
bool HappensIn(Work const& work, long nth, Extent extent) {
    AllocationFailure const failure(nth, extent);
    work();
    return failure.Happened();
}

// Runs `work()` with every allocation failing in turn, alone and with all that follow, and with none failing.
// `before()` comes before each run and `check()`, or `check(failed)`, after it. Returns how many runs had a failure.
template <class Before, class Work, class Check>
int WithEveryFailure(Before const& before, Work const& work, Check const& check,
                     std::initializer_list<Extent> extents = {Extent::kOne, Extent::kAllFromThere}) {
    int failures = 0;
    for (Extent const extent : extents) {
        bool failed = true;
        for (long nth = 1; failed && !testing::Test::HasFailure(); ++nth) {
            SCOPED_TRACE(testing::Message()
                         << "allocation " << nth << (extent == Extent::kOne ? "" : " and all that follow"));
            before();
            failed = HappensIn(work, nth, extent);
            failures += failed ? 1 : 0;
            if constexpr (std::is_invocable_v<Check const&, bool>) {
                check(failed);
            } else {
                check();
            }
        }
    }
    EXPECT_GT(failures, 0) << "it needs no memory";
    return failures;
}

template <class Work, class Check>
int WithEveryFailure(Work const& work, Check const& check) {
    return WithEveryFailure([] {}, work, check);
}

// Runs `work()` with the first, the second, ... allocation failing, alone, until it needs no more. `check(result)` sees
// what it returned each time that one failed. Returns how often that was.
template <class Work, class Check>
int FailEachAllocation(Work const& work, Check const& check) {
    using Result = std::invoke_result_t<Work const&>;
    Result result{};
    return WithEveryFailure([] {}, [&] { result = work(); },
                            [&](bool failed) {
                                if (failed) check(result);
                            },
                            {Extent::kOne});
}

}  // namespace fault
