#pragma once

// Makes pthread_create fail with EAGAIN and start nothing, whichever thread of the process calls it (std::thread calls
// it too and then throws std::system_error). Armed as long as the object lives; one object at a time. Calls count from
// its construction on, beginning with 1.
//
// To use it link torvane_thread_failure to the test: its pthread_create then comes before that of the C library.
//
//     ThreadFailure failure(1);
//     EXPECT_EQ(manager->GetCache("task"), nullptr);
//     EXPECT_TRUE(failure.Happened());
class ThreadFailure {
  public:
    enum class Extent { kOne, kAllFromThere };

    // The nth call fails; with kAllFromThere also all that follow. 0: none, to count calls only.
    explicit ThreadFailure(int nth, Extent extent = Extent::kOne) noexcept;
    ~ThreadFailure();
    ThreadFailure(ThreadFailure const&) = delete;
    ThreadFailure& operator=(ThreadFailure const&) = delete;

    // Whether a call was made to fail.
    [[nodiscard]] bool Happened() const noexcept;
    // Calls since construction, failed ones included.
    [[nodiscard]] int Count() const noexcept;
};
