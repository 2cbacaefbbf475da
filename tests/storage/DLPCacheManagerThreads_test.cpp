#include <gtest/gtest.h>

#include "host/base/Murmur3.h"
#include "tests/storage/ManagerFixture.h"
#include "tests/support/OnAllThreads.h"

namespace {

constexpr int kThreads = 8;
constexpr int kKeys = 120;  // of each thread

class StoreUnderThreads : public ManagerFixture {
  protected:
    static std::string RecordOf(int key) {
        return std::string(static_cast<std::size_t>(key % 300 + 1), 'r') + std::to_string(key);
    }
    // Keys of bucket 0 cannot be stored.
    static bool IsStorable(HString const& key) {
        std::string const md5 = key.get_md5_std_format_lower(HString()).get_str();
        return Varnok::Murmur3_32(md5.data(), 32) % 7 != 0;
    }
};

TEST_F(StoreUnderThreads, IntegerKeysOfEachThreadAreAllThere) {
    Open(kThreads * kKeys);
    OnAllThreads(kThreads, [&](int thread) {
        for (int i = 0; i < kKeys; ++i) {
            int const key = i * kThreads + thread + 1;
            EXPECT_EQ(Put(key, RecordOf(key)), 1);
            EXPECT_EQ(Get(key), Data(RecordOf(key)));
            int const other = Get(kThreads * kKeys - key + 1).code;
            EXPECT_TRUE(other == 0 || other == 2) << other;
        }
    });
    for (int key = 1; key <= kThreads * kKeys; ++key)
        EXPECT_EQ(Get(key), Data(RecordOf(key)));
}

TEST_F(StoreUnderThreads, TextKeysOfEachThreadAreAllThere) {
    Open(7);
    auto const each_key = [](int thread, auto const& work) {
        for (int i = 0; i < kKeys; ++i) {
            int const number = i * kThreads + thread;
            if (HString const key(number); IsStorable(key)) work(number, key);
        }
    };
    OnAllThreads(kThreads, [&](int thread) {
        each_key(thread, [&](int number, HString const& key) {
            EXPECT_EQ(Put(key, RecordOf(number)), 1);
            EXPECT_EQ(Get(key), Data(RecordOf(number)));
        });
    });
    for (int thread = 0; thread < kThreads; ++thread) {
        each_key(thread, [&](int number, HString const& key) { EXPECT_EQ(Get(key), Data(RecordOf(number))); });
    }
}

TEST_F(StoreUnderThreads, RecordIsReadWholeWhileItIsRewritten) {
    Open(1);
    ASSERT_EQ(Put(1, std::string(5000, 'a')), 1);
    OnAllThreads(kThreads, [&](int thread) {
        for (int i = 0; i < kKeys; ++i) {
            if (thread % 2 == 0) {
                EXPECT_EQ(Rewrite(1, std::string(5000, static_cast<char>('a' + thread))), 0);
            } else {
                std::string const data = Get(1).data;
                EXPECT_EQ(data, std::string(5000, data[0]));
            }
        }
    });
}

}  // namespace
