#include <gtest/gtest.h>

#include <cerrno>

#include "tests/storage/FileSizeLimit.h"
#include "tests/storage/LogExpect.h"
#include "tests/storage/ManagerFixture.h"
#include "tests/support/fault/EveryFault.h"

namespace {

class StoreFaults : public ManagerFixture {
  protected:
    StoreFaults() {
        Open(3);
        EXPECT_EQ(Put(a_, "alpha"), 1);
    }
    // Adding "record" under "b" gives `expected` while the nth call of the kind fails.
    void ExpectNotAdded(SystemCall call, int nth, int expected) {
        FaultInjection faults;
        faults.OnlyBelow(root_ / "");
        faults.Fail(call, nth, ENOSPC);
        EXPECT_EQ(Put(b_, "record"), expected);
        EXPECT_EQ(faults.Fired(), 1);
        EXPECT_EQ(Get(b_), Without(0));
        EXPECT_EQ(Get(a_), Data("alpha"));
    }

    HString const a_{"a"}, b_{"b"};
};

TEST_F(StoreFaults, DataThatCannotBeWrittenIsNotIndexed) {
    ExpectNotAdded(SystemCall::kPwrite, 1, -10);
    EXPECT_EQ(DataFile(), "alpha");
}

TEST_F(StoreFaults, DataFileWhoseEndCannotBeFound) {
    ExpectNotAdded(SystemCall::kLseek, 1, -10);
    EXPECT_EQ(DataFile(), "alpha");
}

TEST_F(StoreFaults, DataFileThatCannotBeOpened) {
    ExpectNotAdded(SystemCall::kOpen, 2, -6);
}

TEST_F(StoreFaults, SlotThatCannotBeWrittenLeavesTheDataUnused) {
    ExpectNotAdded(SystemCall::kPwrite, 2, -9);
    EXPECT_EQ(DataFile(), "alpharecord");
    EXPECT_EQ(Put(b_, "again"), 1);
    EXPECT_EQ(Get(b_), Data("again"));
}

TEST_F(StoreFaults, DataWrittenInPartIsCutOffAgain) {
    for (int part = 0; part < 6; ++part) {
        FileSizeLimit const limit(5 + part);
        unsigned char bytes[] = {'r', 'e', 'c', 'o', 'r', 'd'};
        long long offset = -1;
        EXPECT_EQ(store_->WriteCacheBuffer(offset, bytes, 6), -10);
        EXPECT_EQ(offset, -1);
        EXPECT_EQ(DataFile(), "alpha");
    }
}

TEST_F(StoreFaults, DataThatCannotBeRead) {
    LogLines log;
    FaultInjection faults;
    faults.Fail(SystemCall::kPread, 3, EIO);
    EXPECT_EQ(Get(a_), Without(-13));
    EXPECT_EQ(TakeStorageLines(log), Assertion("ReadCacheBuffer", 767) + Assertion("Find", 451, ", ASSERT_NULL"));
    EXPECT_EQ(Get(a_), Data("alpha"));
}

TEST_F(StoreFaults, WantOfDescriptorsIsNoMissingKey) {
    FaultInjection faults;
    faults.FailFrom(SystemCall::kOpen, 1, EMFILE);
    EXPECT_EQ(Get(a_), Without(-5));
    EXPECT_EQ(Put(a_, "x"), -5);
    faults.FailFrom(SystemCall::kOpen, 2, EMFILE);
    EXPECT_EQ(Get(a_), Without(-13));
}

TEST_F(StoreFaults, WantOfRightsIsNoMissingIndex) {
    FaultInjection faults;
    faults.FailFrom(SystemCall::kStat, 1, EACCES);
    faults.FailFrom(SystemCall::kOpen, 1, EACCES);
    EXPECT_EQ(store_->Init(9, HString(index_path_), HString(data_path_)), 1);
    faults.FailFrom(SystemCall::kStat, 0, 0);
    faults.FailFrom(SystemCall::kOpen, 0, 0);
    EXPECT_EQ(store_->GetIndexNumber(), 3);
    EXPECT_EQ(Get(a_), Data("alpha"));
}

// Whatever calls fail: the record is there, or the code says that it is not, and earlier records are.
TEST_F(StoreFaults, AnyFailingCallLeavesASoundStore) {
    HString key;
    int number = 0;
    int added = 0;
    int const fired = fault::WithEveryFault(
        root_.Path(), {EIO},
        [&] {
            key = HString(++number);
            while (Get(key).code != 0)  // bucket 0 takes no keys
                key = HString(++number);
        },
        [&] { added = Put(key, "record"); },
        [&] {
            EXPECT_EQ(Get(key), added == 1 ? Data("record") : Without(0));
            EXPECT_EQ(Get(a_), Data("alpha"));
        });
    EXPECT_EQ(added, 1);
    EXPECT_GE(fired, 13);
}

}  // namespace
