#include <gtest/gtest.h>

#include "tests/storage/LogExpect.h"
#include "tests/storage/ManagerFixture.h"

namespace {

class StoreLog : public ManagerFixture {
  protected:
    StoreLog() {
        Open(3);
        EXPECT_EQ(TakeStorageLines(log_), Logged{});
    }
    template <class Result>
    void Check(Result const& result, Result const& expected, Logged const& lines) {
        EXPECT_EQ(result, expected);
        EXPECT_EQ(TakeStorageLines(log_), lines);
    }

    LogLines log_;
    HString const a_{"a"};
};

TEST_F(StoreLog, IntegerKeyBelowOne) {
    Check(Put(0, "x"), -16, Assertion("Add", 563));
    Check(PutNothing(0), -16, Assertion("Add", 563));
}

TEST_F(StoreLog, PresentKeyIsAWarning) {
    ASSERT_EQ(Put(1, "x"), 1);
    (void)log_.Take();
    Check(Put(1, "y"), 1, {{2, 598, "this log should not appear."}});
    ASSERT_EQ(Put(HString("b"), "x"), 1);
    (void)log_.Take();
    Check(Put(HString("b"), "y"), 1, {{2, 536, "this log should not appear. i_ret: 1"}});
}

TEST_F(StoreLog, DataFileThatCannotBeOpenedForWriting) {
    std::filesystem::create_directory(data_path_);
    Check(Put(a_, "x"), -6, Assertion("WriteCacheBuffer", 735));
}

TEST_F(StoreLog, DataFileThatCannotBeOpenedForReading) {
    SetPlace(store_->FormatIndexValue(a_), 0, 3);
    Check(Get(a_), Without(-13), Assertion("ReadCacheBuffer", 763) + Assertion("Find", 451, ", ASSERT_NULL"));
    SetPlace(2, 0, 3);
    Check(Get(2), Without(-13), Assertion("ReadCacheBuffer", 763) + Assertion("Find", 489, ", ASSERT_NULL"));
}

TEST_F(StoreLog, DataFileShorterThanTheRecord) {
    WriteBytes(data_path_, "ab");
    for (int const length : {3, 100000, -1}) {
        SetPlace(2, 0, length);
        Check(Get(2), Without(-13), Assertion("ReadCacheBuffer", 764) + Assertion("Find", 489, ", ASSERT_NULL"));
    }
}

TEST_F(StoreLog, RecordThatEndsBehindTheDataFile) {
    WriteBytes(data_path_, std::string(100000, 'x'));
    for (int const length : {99999, 2}) {
        SetPlace(2, 99999, length);
        Check(Get(2), Without(-13), Assertion("ReadCacheBuffer", 767) + Assertion("Find", 489, ", ASSERT_NULL"));
        SetPlace(2, -2, length);
        Check(Get(2), Without(-13), Assertion("ReadCacheBuffer", 767) + Assertion("Find", 489, ", ASSERT_NULL"));
    }
}

TEST_F(StoreLog, UpdateWithoutABuffer) {
    Check(store_->Update(1, nullptr, 3), -13, Assertion("Update", 626, ", ASSERT_NULL"));
}

TEST_F(StoreLog, UpdateOfAnotherLengthIsSilent) {
    ASSERT_EQ(Put(1, "abc"), 1);
    (void)log_.Take();
    Check(Rewrite(1, "ab"), -13, {});
}

TEST_F(StoreLog, FailuresOfTheIndexAreItsOwnLines) {
    std::filesystem::remove(index_path_);
    std::string const word = ", No exist file: " + index_path_;
    Check(Put(a_, "x"), -3, Assertion("Find", 58, word));
    Check(PutNothing(a_), -3, Assertion("Add", 164, word));
    Check(Get(1), Without(-3), Assertion("Find", 111, word));
    Check(Rewrite(1, "x"), -3, Assertion("Find", 111, word));
}

TEST_F(StoreLog, AddingAndFindingIsSilent) {
    Check(Put(a_, "x"), 1, {});
    Check(Get(a_), Data("x"), {});
    Check(Get(HString("b")), Without(0), {});
    Check(PutNothing(HString("b")), 0, {});
    Check(Get(HString("b")), Without(1), {});
}

}  // namespace
