#pragma once

// Makes allocations of this thread fail with std::bad_alloc (or null, for the nothrow forms). Armed as long as the
// object lives; one object a thread at a time; other threads are left alone.
//
// To use it link torvane_allocation_failure to the test: it replaces operator new.
//
//     for (int nth = 1;; ++nth) {
//         AllocationFailure failure(nth);
//         int const code = Operation();
//         if (!failure.Happened()) break;      // it needs fewer than nth allocations
//         EXPECT_LT(code, 0);
//     }
class AllocationFailure {
  public:
    enum class Extent { kOne, kAllFromThere };

    // The nth allocation from here, beginning with 1, fails; with kAllFromThere also all that follow.
    explicit AllocationFailure(long nth, Extent extent = Extent::kOne) noexcept;
    ~AllocationFailure();
    AllocationFailure(AllocationFailure const&) = delete;
    AllocationFailure& operator=(AllocationFailure const&) = delete;

    // Whether an allocation was made to fail.
    [[nodiscard]] bool Happened() const noexcept;
    // Allocations that this thread asked for since construction. A number of calls, whatever nth was.
    [[nodiscard]] long Count() const noexcept;
};
