#include <gtest/gtest.h>

#include "host/base/Global.h"
#include "tests/storage/IndexFixture.h"
#include "tests/storage/LogExpect.h"

namespace {

class IndexLog : public IndexFixture {
  protected:
    // The last operation returned `expected` and logged `lines`.
    void Check(int code, int expected, Logged const& lines) {
        EXPECT_EQ(code, expected);
        EXPECT_EQ(TakeStorageLines(log_), lines);
    }
    void CheckAll(int expected, int find_text, int add_text, int find_number, int add_number,
                  std::string const& word = ", ASSERT_FALSE") {
        Check(Look(kKeyA).code, expected, Assertion("Find", find_text, word));
        Check(index_.Add(kKeyA, 1, 2), expected, Assertion("Add", add_text, word));
        Check(Look(1).code, expected, Assertion("Find", find_number, word));
        Check(index_.Add(1, 1, 2), expected, Assertion("Add", add_number, word));
    }

    LogLines log_;
};

TEST_F(IndexLog, MissingFile) {
    CheckAll(-3, 58, 164, 111, 235, ", No exist file: " + path_);
}

TEST_F(IndexLog, DirectoryIsAMissingFile) {
    std::filesystem::create_directory(path_);
    CheckAll(-3, 58, 164, 111, 235, ", No exist file: " + path_);
}

TEST_F(IndexLog, MissingFileIsToldBeforeARefusedKey) {
    std::string const word = ", No exist file: " + path_;
    Check(Look(std::string("short")).code, -3, Assertion("Find", 58, word));
    Check(index_.Add("short", 1, 2), -3, Assertion("Add", 164, word));
    Check(Look(0).code, -3, Assertion("Find", 111, word));
    Check(index_.Add(0, 1, 2), -3, Assertion("Add", 235, word));
}

TEST_F(IndexLog, RefusedKey) {
    ASSERT_EQ(index_.Init(3), 0);
    Check(Look(kKeyA + "0").code, -14, Assertion("Find", 59));
    Check(index_.Add(kKeyA + "0", 1, 2), -14, Assertion("Add", 165));
    Check(Look(0).code, -14, Assertion("Find", 112));
    Check(index_.Add(0, 1, 2), -14, Assertion("Add", 236));
}

TEST_F(IndexLog, RefusedKeyIsToldBeforeAFailedOpening) {
    std::filesystem::create_symlink("nowhere", path_);
    Check(Look(std::string("short")).code, -14, Assertion("Find", 59));
    Check(index_.Add(0, 1, 2), -14, Assertion("Add", 236));
}

TEST_F(IndexLog, FileThatCannotBeOpened) {
    std::filesystem::create_symlink("nowhere", path_);
    CheckAll(-5, 65, 171, 119, 242);
}

TEST_F(IndexLog, FileTooShortForAHead) {
    for (std::size_t const size : {0U, 1U, 26U}) {
        WriteBytes(path_, std::string(size, 'x'));
        CheckAll(-12, 66, 172, 120, 243);
    }
}

TEST_F(IndexLog, HeadAloneIsTooShortForTextKeysOnly) {
    ASSERT_EQ(index_.Init(0), 0);
    Check(Look(kKeyA).code, -12, Assertion("Find", 66));
    Check(index_.Add(kKeyA, 1, 2), -12, Assertion("Add", 172));
    Check(Look(1).code, 0, {});
    Check(index_.Add(1, 1, 2), 0, {});
}

TEST_F(IndexLog, DamagedHead) {
    ASSERT_EQ(index_.Init(3), 0);
    Patch(21, "\x06");
    CheckAll(-11, 72, 178, 126, 249);
}

TEST_F(IndexLog, DamagedHeadOfTooShortAFileIsTooShort) {
    WriteBytes(path_, std::string(27, 'x'));
    Check(Look(kKeyA).code, -12, Assertion("Find", 66));
    Check(Look(1).code, -11, Assertion("Find", 126));
}

TEST_F(IndexLog, BucketZero) {
    ASSERT_EQ(index_.Init(3), 0);
    Check(Look(kKeyC).code, -12, Assertion("Find", 81));
    Check(index_.Add(kKeyC, 1, 2), -12, Assertion("Add", 187));
}

TEST_F(IndexLog, BucketCountOfZero) {
    ASSERT_EQ(index_.Init(0), 0);
    WriteBytes(path_, Bytes() + "x");
    Check(Look(kKeyA).code, -12, Assertion("Find", 81));
    Check(index_.Add(kKeyA, 1, 2), -12, Assertion("Add", 187));
}

TEST_F(IndexLog, SlotCutShort) {
    ASSERT_EQ(index_.Init(3), 0);
    TruncateAt(SlotAt(1) + 56);
    Check(Look(kKeyA).code, -7, Assertion("Find", 84));
    Check(index_.Add(kKeyA, 1, 2), -12, Assertion("Add", 190));
    Check(Look(1).code, 0, Assertion("Find", 141));
    EXPECT_EQ(Size(), 27 + 56);
}

TEST_F(IndexLog, IntegerKeyBeyondTheTableIsSilent) {
    ASSERT_EQ(index_.Init(3), 0);
    Check(Look(4).code, 0, {});
    Check(Look(5).code, 0, {});
    Check(index_.Add(5, 1, 2), -12, Assertion("Add", 253));
}

TEST_F(IndexLog, UnusedSlotOfAnIntegerKeyIsAnInformation) {
    ASSERT_EQ(index_.Init(3), 0);
    Check(Look(2).code, 0, {{3, 152, "key.str_key=,g_str_key_empty="}});
}

TEST_F(IndexLog, SlotOfAnotherKeyIsToldOnlyWithAChainBehindIt) {
    ASSERT_EQ(index_.Init(3), 0);
    Patch(SlotAt(2), "x");
    Check(Look(2).code, -12, {});
    Link(SlotAt(2), 27);
    Check(Look(2).code, -7, Assertion("Find", 156));
}

TEST_F(IndexLog, FoundAndAbsentKeysAreSilent) {
    ASSERT_EQ(index_.Init(3), 0);
    Check(index_.Add(kKeyA, 1, 2), 0, {});
    Check(index_.Add(kKeyAbc, 1, 2), 0, {});
    Check(Look(kKeyAbc).code, 1, {});
    Check(Look(kKeyB).code, 0, {});
    Check(index_.Add(1, 1, 2), 0, {});
    Check(Look(1).code, 1, {});
}

TEST_F(IndexLog, TooManyBuckets) {
    Check(index_.Init(5000001), -1, Assertion("Init", 281));
}

TEST_F(IndexLog, FileThatCannotBeMade) {
    DLPCache::Index const index{HString(root_ / "none/index")};
    Check(index.Init(3), -1, Assertion("Init", 293));
}

TEST_F(IndexLog, NothingIsWrittenWhileLoggingIsOff) {
    Varnok::Global::pins()->logging = 0;
    EXPECT_EQ(Look(kKeyA).code, -3);
    Varnok::Global::pins()->logging = 1;
    EXPECT_EQ(TakeStorageLines(log_), Logged{});
}

}  // namespace
