#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <string>

#include "host/base/HFile.h"
#include "tests/storage/FileSizeLimit.h"
#include "tests/storage/IndexFixture.h"
#include "tests/storage/LogExpect.h"
#include "tests/support/fault/EveryFault.h"

namespace {

class IndexFaults : public IndexFixture {
  protected:
    // "a" in its bucket's first slot, an integer key in the other's.
    void Prepare() {
        ASSERT_EQ(index_.Init(3), 0);
        ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
        before_ = Bytes();
        log_.emplace();
    }
    // What `operation` returns while the nth call of the kind fails.
    template <class Operation>
    int Failing(SystemCall call, int nth, int error, Operation const& operation) {
        FaultInjection faults;
        faults.OnlyBelow(path_);
        faults.Fail(call, nth, error);
        int const code = operation();
        EXPECT_EQ(faults.Fired(), 1);
        return code;
    }
    void Check(int code, int expected, Logged const& lines) {
        EXPECT_EQ(code, expected);
        EXPECT_EQ(TakeStorageLines(*log_), lines);
        EXPECT_EQ(Bytes(), before_);
    }
    auto FindText(std::string const& key = kKeyA) {
        return [this, key] { return Look(key).code; };
    }
    auto AddText(std::string const& key = kKeyAbc) {
        return [this, key] { return index_.Add(key, 1, 2); };
    }
    auto FindNumber(int key = 2) {
        return [this, key] { return Look(key).code; };
    }
    auto AddNumber(int key = 2) {
        return [this, key] { return index_.Add(key, 1, 2); };
    }

    std::string before_;
    std::optional<LogLines> log_;
};

TEST_F(IndexFaults, OpeningWithoutRightsMemoryOrDescriptorsIsNoMissingFile) {
    Prepare();
    for (int const error : {EACCES, EMFILE, ENFILE, ENOMEM, ELOOP, EIO}) {
        Check(Failing(SystemCall::kOpen, 1, error, FindText()), -5, Assertion("Find", 65));
        Check(Failing(SystemCall::kOpen, 1, error, AddText()), -5, Assertion("Add", 171));
        Check(Failing(SystemCall::kOpen, 1, error, FindNumber()), -5, Assertion("Find", 119));
        Check(Failing(SystemCall::kOpen, 1, error, AddNumber()), -5, Assertion("Add", 242));
    }
}

TEST_F(IndexFaults, HeadThatCannotBeRead) {
    Prepare();
    Check(Failing(SystemCall::kPread, 1, EIO, FindText()), -12, Assertion("Find", 71));
    Check(Failing(SystemCall::kPread, 1, EIO, AddText()), -12, Assertion("Add", 177));
    Check(Failing(SystemCall::kPread, 1, EIO, FindNumber()), -12, Assertion("Find", 125));
    Check(Failing(SystemCall::kPread, 1, EIO, AddNumber()), -12, Assertion("Add", 248));
}

TEST_F(IndexFaults, SlotThatCannotBeRead) {
    Prepare();
    Check(Failing(SystemCall::kPread, 2, EIO, FindText()), -7, Assertion("Find", 84));
    Check(Failing(SystemCall::kPread, 2, EIO, AddText()), -12, Assertion("Add", 190));
    Check(Failing(SystemCall::kPread, 2, EIO, FindNumber()), 0, Assertion("Find", 141));
}

TEST_F(IndexFaults, UnusedSlotThatCannotBeWritten) {
    Prepare();
    Check(Failing(SystemCall::kPwrite, 1, ENOSPC, AddText(kKeyB)), -9, Assertion("Add", 214));
}

TEST_F(IndexFaults, IntegerSlotThatCannotBeWritten) {
    Prepare();
    Check(Failing(SystemCall::kPwrite, 1, ENOSPC, AddNumber(2)), -9, Assertion("Add", 267));
    Check(Failing(SystemCall::kPwrite, 1, ENOSPC, AddNumber(4)), -9, Assertion("Add", 267));
}

TEST_F(IndexFaults, AppendedSlotThatCannotBeWritten) {
    Prepare();
    Check(Failing(SystemCall::kPwrite, 1, ENOSPC, AddText()), -9, Assertion("Add", 228));
}

TEST_F(IndexFaults, LinkThatCannotBeWrittenTakesItsSlotWithIt) {
    Prepare();
    Check(Failing(SystemCall::kPwrite, 2, EIO, AddText()), -9, Assertion("Add", 222));
}

TEST_F(IndexFaults, EndThatCannotBeFound) {
    Prepare();
    Check(Failing(SystemCall::kStat, 1, EIO, AddText()), -12, Assertion("Add", 225));
}

TEST_F(IndexFaults, SlotWrittenInPartIsCutOffAgain) {
    Prepare();
    for (int part = 0; part < 57; ++part) {
        FileSizeLimit const limit(static_cast<long long>(before_.size()) + part);
        EXPECT_EQ(index_.Add(kKeyAbc, 1, 2), -9);
        EXPECT_EQ(Bytes(), before_);
        EXPECT_EQ(index_.Add(4, 1, 2), -9);
        EXPECT_EQ(Bytes(), before_);
    }
    EXPECT_EQ(index_.Add(kKeyAbc, 1, 2), 0);
    EXPECT_EQ(Look(kKeyAbc), Found(1, 2));
}

TEST_F(IndexFaults, IntegerSlotOverwrittenInPartIsPutBack) {
    Prepare();
    ASSERT_EQ(index_.Add(4, 7, 8), 0);
    before_ = Bytes();
    for (int part = 0; part < 57; ++part) {
        FileSizeLimit const limit(static_cast<long long>(before_.size()) - 57 + part);
        EXPECT_EQ(index_.Add(4, 1, 2), -9);
        EXPECT_EQ(Bytes(), before_) << part;
    }
    EXPECT_EQ(index_.Add(4, 1, 2), 0);
    EXPECT_EQ(Look(4), Found(1, 2));
}

TEST_F(IndexFaults, SlotThatCannotBeCutOffAgainDoesNotMatter) {
    Prepare();
    {
        FileSizeLimit const limit(static_cast<long long>(before_.size()) + 20);
        EXPECT_EQ(Failing(SystemCall::kFtruncate, 1, EIO, AddText()), -9);
    }
    EXPECT_EQ(Size(), static_cast<long long>(before_.size()) + 20);
    EXPECT_EQ(Look(kKeyAbc), Without(0));
    EXPECT_EQ(index_.Add(kKeyAbc, 1, 2), 0);
    EXPECT_EQ(Look(kKeyAbc), Found(1, 2));
    EXPECT_EQ(Look(kKeyA), Found(10, 11));
}

TEST_F(IndexFaults, FailedInitLeavesNothing) {
    FaultInjection faults;
    faults.OnlyBelow(path_);
    for (SystemCall const call : {SystemCall::kOpen, SystemCall::kPwrite, SystemCall::kClose, SystemCall::kRename}) {
        faults.FailFrom(call, 1, ENOSPC);
        EXPECT_EQ(index_.Init(3000), -1);
        EXPECT_FALSE(Exists(path_));
        EXPECT_FALSE(Exists(path_ + ".tmp"));
        faults.FailFrom(call, 0, 0);
    }
    faults.Fail(SystemCall::kPwrite, 3, ENOSPC);  // the head, 64 KiB of slots, then no more
    EXPECT_EQ(index_.Init(3000), -1);
    EXPECT_FALSE(Exists(path_));
    EXPECT_FALSE(Exists(path_ + ".tmp"));
}

TEST_F(IndexFaults, IndexThatCannotBeOpenedIsNotInitialisedAwayByAStore) {
    Prepare();
    EXPECT_EQ(Failing(SystemCall::kStat, 1, EACCES, [&] { return HFile::IsFileExistFile(HString(path_)) ? 1 : 0; }), 1);
    EXPECT_EQ(Bytes(), before_);
}

TEST_F(IndexFaults, ShortAndInterruptedTransfersAreContinued) {
    ASSERT_EQ(index_.Init(3), 0);
    FaultInjection faults;
    faults.ShortenFrom(SystemCall::kPread, 1, 1);
    faults.ShortenFrom(SystemCall::kPwrite, 1, 1);
    EXPECT_EQ(index_.Add(kKeyA, 10, 11), 0);
    EXPECT_EQ(index_.Add(kKeyAbc, 20, 21), 0);
    EXPECT_EQ(index_.Add(3, 30, 31), 0);
    EXPECT_EQ(Look(kKeyA), Found(10, 11));
    EXPECT_EQ(Look(kKeyAbc), Found(20, 21));
    EXPECT_EQ(Look(3), Found(30, 31));
    for (SystemCall const call : {SystemCall::kOpen, SystemCall::kPread, SystemCall::kPwrite, SystemCall::kClose}) {
        faults.Fail(call, 1, EINTR);
        EXPECT_EQ(index_.Add(kKeyA, 1, 1), 0);
        faults.Fail(call, 1, EINTR);
        EXPECT_EQ(Look(kKeyAbc), Found(20, 21));
    }
}

// Whatever calls fail: the operation succeeds or says that it did not, and every earlier key is still found.
TEST_F(IndexFaults, AnyFailingCallLeavesASoundFile) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    std::string key;
    int number = 0;
    int added = 0;
    int const fired = fault::WithEveryFault(
        root_.Path(), {EIO}, [&] { key = KeyInBucket(1, 3, ++number); }, [&] { added = index_.Add(key, number, 31); },
        [&] {
            EXPECT_EQ(Look(kKeyA), Found(10, 11));
            EXPECT_EQ(Look(key), added == 0 ? Found(number, 31) : Without(0));
            EXPECT_EQ((Size() - 27) % 57, 0);
        });
    EXPECT_EQ(added, 0);
    EXPECT_GE(fired, 7);
}

}  // namespace
