#include "host/base/HIEThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "tests/support/fault/ThreadFailure.h"

namespace {

// What became of an object that may be gone already.
struct Fate {
    std::promise<void> destroyed;
    std::atomic<int> runs{0};
};

class Worker : public virtual HIEUtil::Thread {
  public:
    Worker(Fate& fate, std::function<void()> body) : fate_(fate), body_(std::move(body)) {}
    ~Worker() override { fate_.destroyed.set_value(); }
    void run() override {
        ++fate_.runs;
        body_();
    }

  private:
    Fate& fate_;
    std::function<void()> body_;
};

class HIEThreadTest : public testing::Test {
  protected:
    Fate fate;
    std::promise<void> go;  // what a body waits for

    Worker* Make(std::function<void()> body) { return new Worker(fate, std::move(body)); }
    [[nodiscard]] bool IsDestroyed() {
        return destroyed.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }
    std::future<void> destroyed = fate.destroyed.get_future();
};

TEST_F(HIEThreadTest, AStartedObjectRunsOnAThreadOfItsOwn) {
    std::thread::id runner;
    Worker* const worker = Make([&] { runner = std::this_thread::get_id(); });
    HIEUtil::ThreadControl control = worker->start();
    EXPECT_TRUE(control.started());
    control.join();
    EXPECT_EQ(fate.runs, 1);
    EXPECT_NE(runner, std::this_thread::get_id());
    worker->release();
}

TEST_F(HIEThreadTest, TheLastReferenceDestroysTheObject) {
    Worker* const worker = Make([] {});
    worker->add_ref();
    worker->release();
    EXPECT_FALSE(IsDestroyed());
    worker->release();
    EXPECT_TRUE(IsDestroyed());
    EXPECT_EQ(fate.runs, 0);
}

TEST_F(HIEThreadTest, ARunningThreadKeepsItsObject) {
    Worker* const worker = Make([&] { go.get_future().wait(); });
    worker->start().detach();
    worker->release();
    EXPECT_FALSE(IsDestroyed());
    go.set_value();
    destroyed.wait();
    EXPECT_EQ(fate.runs, 1);
}

TEST_F(HIEThreadTest, AnEndedThreadHasGivenItsReferenceBack) {
    Worker* const worker = Make([] {});
    HIEUtil::ThreadControl control = worker->start();
    control.join();
    EXPECT_FALSE(IsDestroyed());
    worker->release();
    EXPECT_TRUE(IsDestroyed());
}

TEST_F(HIEThreadTest, JoiningOrDetachingHappensOnce) {
    Worker* const worker = Make([] {});
    HIEUtil::ThreadControl control = worker->start();
    control.join();
    EXPECT_FALSE(control.started());
    control.join();
    control.detach();
    worker->release();
}

TEST_F(HIEThreadTest, ADetachedThreadIsNotJoined) {
    Worker* const worker = Make([&] { go.get_future().wait(); });
    HIEUtil::ThreadControl control = worker->start();
    control.detach();
    control.join();  // would wait for ever
    go.set_value();
    worker->release();
    destroyed.wait();
}

TEST_F(HIEThreadTest, AMovedControlIsTheOnlyOne) {
    Worker* const worker = Make([] {});
    HIEUtil::ThreadControl first = worker->start();
    HIEUtil::ThreadControl second(std::move(first));
    EXPECT_FALSE(first.started());
    HIEUtil::ThreadControl third;
    third = std::move(second);
    EXPECT_FALSE(second.started());
    EXPECT_TRUE(third.started());
    third.join();
    EXPECT_EQ(fate.runs, 1);
    worker->release();
}

TEST_F(HIEThreadTest, NoThreadIsNeitherJoinedNorDetached) {
    HIEUtil::ThreadControl none;
    EXPECT_FALSE(none.started());
    none.join();
    none.detach();
}

TEST_F(HIEThreadTest, AThreadThatTheSystemRefusesIsNotStarted) {
    Worker* const worker = Make([] {});
    {
        ThreadFailure const failure(1);
        EXPECT_FALSE(worker->start().started());
        EXPECT_TRUE(failure.Happened());
    }
    EXPECT_EQ(fate.runs, 0);
    worker->release();
    EXPECT_TRUE(IsDestroyed());  // nothing was kept for the thread that there is not
}

TEST_F(HIEThreadTest, ARefusedObjectMayBeStartedAgain) {
    Worker* const worker = Make([] {});
    ThreadFailure const failure(1);
    EXPECT_FALSE(worker->start().started());
    HIEUtil::ThreadControl control = worker->start();
    EXPECT_TRUE(control.started());
    control.join();
    EXPECT_EQ(fate.runs, 1);
    EXPECT_EQ(failure.Count(), 2);
    worker->release();
}

// Signals of a mask, in the order that they were asked for.
template <std::size_t count>
std::array<bool, count> Blocked(std::array<int, count> const& signals) {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    std::array<bool, count> blocked{};
    for (std::size_t i = 0; i < count; ++i)
        blocked[i] = sigismember(&mask, signals[i]) == 1;
    return blocked;
}

TEST_F(HIEThreadTest, SignalsStayWithTheAgent) {
    constexpr std::array kSent = {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2, SIGALRM, SIGCHLD, SIGPIPE};
    constexpr std::array kFaults = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};
    std::array<bool, kSent.size()> sent{};
    std::array<bool, kFaults.size()> faults{};
    Worker* const worker = Make([&] {
        sent = Blocked(kSent);
        faults = Blocked(kFaults);
    });
    auto const before = Blocked(kSent);
    worker->start().join();
    worker->release();
    EXPECT_THAT(sent, testing::Each(true));
    EXPECT_THAT(faults, testing::Each(false));
    EXPECT_EQ(Blocked(kSent), before);
}

TEST_F(HIEThreadTest, ARefusedThreadLeavesTheSignalsAlone) {
    constexpr std::array kSent = {SIGTERM, SIGUSR1};
    Worker* const worker = Make([] {});
    ThreadFailure const failure(1);
    (void)worker->start();
    EXPECT_THAT(Blocked(kSent), testing::Each(false));
    worker->release();
}

TEST_F(HIEThreadTest, ManyThreadsShareOneObjectsReferences) {
    Worker* const worker = Make([] {});
    std::array<std::thread, 8> holders;
    for (std::thread& holder : holders) {
        worker->add_ref();
        holder = std::thread([worker] {
            for (int round = 0; round < 1000; ++round) {
                worker->add_ref();
                worker->release();
            }
            worker->release();
        });
    }
    for (std::thread& holder : holders)
        holder.join();
    EXPECT_FALSE(IsDestroyed());
    worker->release();
    EXPECT_TRUE(IsDestroyed());
}

TEST(ThreadFailure, TheNthThreadFailsAndNoOther) {
    std::atomic<int> runs{0};
    ThreadFailure const failure(2);
    std::thread([&] { ++runs; }).join();
    EXPECT_THROW(std::thread([&] { ++runs; }), std::system_error);
    std::thread([&] { ++runs; }).join();
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(failure.Count(), 3);
}

TEST(ThreadFailure, AllThreadsFromTheNthFail) {
    ThreadFailure const failure(1, ThreadFailure::Extent::kAllFromThere);
    EXPECT_THROW(std::thread([] {}), std::system_error);
    EXPECT_THROW(std::thread([] {}), std::system_error);
    EXPECT_TRUE(failure.Happened());
}

TEST(ThreadFailure, NoneFailsWhenNoneIsAskedFor) {
    {
        ThreadFailure const count(0, ThreadFailure::Extent::kAllFromThere);
        std::thread([] {}).join();
        EXPECT_FALSE(count.Happened());
        EXPECT_EQ(count.Count(), 1);
    }
    std::thread([] {}).join();
}

}  // namespace
