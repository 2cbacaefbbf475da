#include "host/base/HMutex.h"

#include <gtest/gtest.h>

#include <thread>

#include "host/base/HAutoMutex.h"
#include "tests/support/OnAllThreads.h"

namespace {

TEST(HMutex, HolderMayLockAgain) {
    HMutex mutex;
    HAutoMutex const outer(mutex);
    HAutoMutex const inner(mutex);
    mutex.Lock();
    mutex.UnLock();
}

TEST(HMutex, OneThreadAtATimeIsInside) {
    HMutex mutex;
    long long count = 0;
    OnAllThreads(8, [&](int) {
        for (int round = 0; round < 2000; ++round) {
            HAutoMutex const lock(mutex);
            ++count;
        }
    });
    EXPECT_EQ(count, 16000);
}

TEST(HMutex, EndOfScopeUnlocks) {
    HMutex mutex;
    { HAutoMutex const lock(mutex); }
    bool entered = false;
    std::thread([&] {
        HAutoMutex const lock(mutex);
        entered = true;
    }).join();
    EXPECT_TRUE(entered);
}

}  // namespace
