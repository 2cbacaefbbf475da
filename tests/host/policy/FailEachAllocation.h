#pragma once

#include <memory>

#include "tests/support/fault/AllocationFailure.h"

// Runs `work()` with the first, the second, ... allocation failing until it needs no more; `check(result)` sees what it
// returned each time that an allocation failed. Returns how often that was.
template <class Work, class Check>
int FailEachAllocation(Work const& work, Check const& check) {
    for (int nth = 1;; ++nth) {
        auto failure = std::make_unique<AllocationFailure>(nth);
        auto const result = work();
        bool const happened = failure->Happened();
        failure.reset();
        if (!happened) return nth - 1;
        check(result);
    }
}
