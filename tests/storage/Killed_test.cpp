#include <gtest/gtest.h>

#include "tests/storage/IndexFixture.h"
#include "tests/storage/ManagerFixture.h"
#include "tests/support/fault/EveryFault.h"

// A process may be killed between any two system calls: each test repeats its operation in a child that dies in place
// of the first, the second, ... call that changes a file, and looks at what the child left.
namespace {

using fault::WithEveryKill;

class KilledIndex : public IndexFixture {
  protected:
    // Either the whole index file or none; an Init afterwards makes it.
    void ExpectWholeOrMissing(int buckets) {
        if (Exists(path_)) {
            EXPECT_EQ(Size(), 27 + 57 * buckets);
            EXPECT_EQ(Look(kKeyA), Without(0));
        }
    }
    // The key is found afterwards or is absent, and can be added again; `earlier` is found. Gives the number of
    // changes.
    template <class Key>
    int KillEachAdd(Key const& earlier, Key const& key) {
        return WithEveryKill([this, before = Bytes()] { WriteBytes(path_, before); },
                             [&] { (void)index_.Add(key, 30, 31); },
                             [&](bool died) {
                                 EXPECT_EQ(Look(earlier), Found(10, 11));
                                 EXPECT_EQ(Look(key), died ? Without(0) : Found(30, 31));
                                 EXPECT_EQ((Size() - 27) % 57, 0);
                                 if (!died) return;
                                 EXPECT_EQ(index_.Add(key, 40, 41), 0);
                                 EXPECT_EQ(Look(key), Found(40, 41));
                                 EXPECT_EQ(Look(earlier), Found(10, 11));
                             });
    }
};

TEST_F(KilledIndex, InitLeavesAWholeFileOrNone) {
    int const died = WithEveryKill([this] { std::filesystem::remove(path_); }, [this] { (void)index_.Init(3000); },
                                   [this](bool killed) {
                                       EXPECT_TRUE(killed || Exists(path_));
                                       ExpectWholeOrMissing(3000);
                                       EXPECT_EQ(index_.Init(3000), 0);
                                       ExpectWholeOrMissing(3000);
                                   });
    EXPECT_GE(died, 4);
}

TEST_F(KilledIndex, AddIntoAFirstSlot) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    EXPECT_EQ(KillEachAdd(kKeyA, kKeyB), 1);
}

TEST_F(KilledIndex, AddAtTheEndOfAChain) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    EXPECT_EQ(KillEachAdd(kKeyA, kKeyAbc), 2);
}

TEST_F(KilledIndex, AddOfAnIntegerKeyAtTheTablesEnd) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(3, 10, 11), 0);
    EXPECT_EQ(KillEachAdd(3, 4), 1);
}

class KilledStore : public ManagerFixture {
  protected:
    KilledStore() { Open(3); }
    template <class Key>
    int KillEachAdd(Key const& earlier, Key const& key) {
        return WithEveryKill(
            [this, index = ReadBytes(index_path_), data = DataFile()] {
                WriteBytes(index_path_, index);
                WriteBytes(data_path_, data);
            },
            [&] { (void)Put(key, "record"); },
            [&](bool died) {
                EXPECT_EQ(Get(earlier), Data("earlier"));
                EXPECT_EQ(Get(key), died ? Without(0) : Data("record"));
                if (!died) return;
                EXPECT_EQ(Put(key, "again"), 1);
                EXPECT_EQ(Get(key), Data("again"));
                EXPECT_EQ(Get(earlier), Data("earlier"));
            });
    }
};

TEST_F(KilledStore, AddOfATextKey) {
    ASSERT_EQ(Put(HString("a"), "earlier"), 1);
    EXPECT_EQ(KillEachAdd(HString("a"), HString("b")), 2);
}

TEST_F(KilledStore, AddOfATextKeyAtTheEndOfAChain) {
    ASSERT_EQ(Put(HString("a"), "earlier"), 1);
    EXPECT_EQ(KillEachAdd(HString("a"), HString("abc")), 3);
}

TEST_F(KilledStore, AddOfAnIntegerKey) {
    ASSERT_EQ(Put(1, "earlier"), 1);
    EXPECT_EQ(KillEachAdd(1, 2), 2);
}

TEST_F(KilledStore, ReplacingARecordByALongerOneKeepsTheOldOneUntilItIsDone) {
    ASSERT_EQ(Put(1, "old"), 1);
    EXPECT_EQ(WithEveryKill(
                  fault::Nothing, [this] { (void)Put(1, "longer"); },
                  [this](bool died) { EXPECT_EQ(Get(1), Data(died ? "old" : "longer")); }),
              2);
}

}  // namespace
