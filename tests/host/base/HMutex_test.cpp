#include "host/base/HMutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "host/base/HAutoMutex.h"

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
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                HAutoMutex const lock(mutex);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
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
