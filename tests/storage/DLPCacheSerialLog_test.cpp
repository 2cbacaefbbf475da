#include <gtest/gtest.h>

#include "tests/storage/LogExpect.h"
#include "tests/storage/SerialFixture.h"
#include "tests/support/TempRoot.h"

namespace {

class SerialLog : public ::testing::Test {
  protected:
    void ExpectFailed(bool result, Logged const& lines) {
        EXPECT_FALSE(result);
        EXPECT_EQ(TakeStorageLines(log_), lines);
    }
    void ExpectTextRefused(std::string const& bytes, int limit, Logged const& lines) {
        std::string const content = FromHex(bytes);
        Input input(content);
        HString text;
        ExpectFailed(record_.ReadHString(input.Get(), text, limit), lines);
    }
    void ExpectListRefused(std::string const& bytes, Logged const& lines) {
        std::string const content = FromHex(bytes);
        Input input(content);
        std::vector<HString> texts;
        ExpectFailed(record_.ReadVTHString(input.Get(), texts, 0), lines);
    }
    // A list of "ab" into so many bytes.
    void ExpectListNotWritten(std::size_t capacity, Logged const& lines) {
        Output output(capacity);
        ExpectFailed(record_.WriteVTHString(output.Get(), {HString("ab")}, 0), lines);
    }

    TempRoot root_;
    LogLines log_;
    Record record_;
};

TEST_F(SerialLog, TextWithoutAWriter) {
    ExpectFailed(record_.WriteHString(nullptr, HString("ab"), 0), Assertion("WriteHString", 906, ", ASSERT_NULL"));
}

TEST_F(SerialLog, TextWhoseCountIsNotWritten) {
    Output output(1);
    ExpectFailed(record_.WriteHString(output.Get(), HString("ab"), 0),
                 Assertion("WriteHString", 919, ", ASSERT_WRITE_INT16  Ret: 0"));
}

TEST_F(SerialLog, TextWhoseUnitsAreNotWritten) {
    Output output(5);
    ExpectFailed(record_.WriteHString(output.Get(), HString("ab"), 0),
                 Assertion("WriteHString", 933, ", ASSERT_WRITE_UINT16 Ret: 0"));
}

TEST_F(SerialLog, TextWithoutAReader) {
    HString text("before");
    ExpectFailed(record_.ReadHString(nullptr, text, 0), Assertion("ReadHString", 839, ", ASSERT_NULL"));
    EXPECT_EQ(text, HString());
}

TEST_F(SerialLog, TextWithoutItsCount) {
    ExpectTextRefused("", 0, Assertion("ReadHString", 842, ", ASSERT_READ_INT16  Ret: 0"));
}

TEST_F(SerialLog, TextLongerThanItsLimit) {
    ExpectTextRefused("0200 6100 6200", 1, Assertion("ReadHString", 850));
}

TEST_F(SerialLog, TextCutShortIsSilent) {
    ExpectTextRefused("0200 6100 62", 0, {});
}

TEST_F(SerialLog, ListWithoutAWriter) {
    ExpectFailed(record_.WriteVTHString(nullptr, {}, 0), Assertion("WriteVTHString", 943, ", ASSERT_NULL"));
}

TEST_F(SerialLog, ListWhoseCountIsNotWritten) {
    ExpectListNotWritten(3, Assertion("WriteVTHString", 948, ", ASSERT_WRITE_INT32 Ret: 0"));
}

TEST_F(SerialLog, ListWhoseSizeIsNotWritten) {
    ExpectListNotWritten(7, Assertion("WriteVTHString", 949, ", ASSERT_WRITE_INT32 Ret: 0"));
}

TEST_F(SerialLog, ListWhoseTextIsNotWritten) {
    ExpectListNotWritten(
        11, Assertion("WriteHString", 933, ", ASSERT_WRITE_UINT16 Ret: 0") + Assertion("WriteVTHString", 953));
}

TEST_F(SerialLog, ListWithoutAReader) {
    std::vector<HString> texts;
    ExpectFailed(record_.ReadVTHString(nullptr, texts, 0), Assertion("ReadVTHString", 877, ", ASSERT_NULL"));
}

TEST_F(SerialLog, ListWithoutItsCount) {
    ExpectListRefused("010000", Assertion("ReadVTHString", 880, ", ASSERT_READ_INT32 Ret: 0"));
}

TEST_F(SerialLog, ListWithoutItsSize) {
    ExpectListRefused("01000000 0400", Assertion("ReadVTHString", 883, ", ASSERT_READ_INT32 Ret: 0"));
}

TEST_F(SerialLog, ListWhoseTextIsRefused) {
    ExpectListRefused("01000000 04000000 0100", Assertion("ReadVTHString", 889));
    ExpectListRefused("01000000 04000000",
                      Assertion("ReadHString", 842, ", ASSERT_READ_INT16  Ret: 0") + Assertion("ReadVTHString", 889));
}

TEST_F(SerialLog, ListLargerThanItsSize) {
    ExpectListRefused("01000000 03000000 0100 6100", Assertion("ReadVTHString", 892));
}

TEST_F(SerialLog, ListWithAnotherSizeThanItsTextsIsSilent) {
    ExpectListRefused("01000000 05000000 0100 6100", {});
    ExpectListRefused("00000000 05000000", {});
}

TEST_F(SerialLog, RecordWithoutASize) {
    unsigned char* buf = nullptr;
    int len = 0;
    record_.size = 0;
    ExpectFailed(record_.ToBuffer(buf, len), Assertion("ToBuffer", 805));
}

TEST_F(SerialLog, RecordOfAnotherSizeIsSilent) {
    unsigned char* buf = nullptr;
    int len = 0;
    record_.size = 3;
    ExpectFailed(record_.ToBuffer(buf, len), {});
}

TEST_F(SerialLog, RecordFromANullBuffer) {
    ExpectFailed(record_.FromBuffer(nullptr, 3), Assertion("FromBuffer", 830, ", ASSERT_NULL"));
}

}  // namespace
