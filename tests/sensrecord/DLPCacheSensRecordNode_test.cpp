#include "sensrecord/DLPCacheSensRecordNode.h"

#include <climits>

#include "host/base/Reader.h"
#include "host/base/Writer.h"
#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/storage/RecordBytes.h"
#include "tests/storage/SerialFixture.h"

namespace {

using DLPCache::SensRecordNode;
using testing::ElementsAre;
using testing::IsEmpty;

// A record and its bytes.
struct Sample {
    int realtime;
    int policy;
    int tool;
    char const* hex;
};
constexpr Sample kSamples[] = {
    {0, 0, 0, "10000000 00000000 00000000 00000000"},
    {1, 2, 3, "10000000 01000000 02000000 03000000"},
    {INT_MAX, INT_MIN, -1, "10000000 FFFFFF7F 00000080 FFFFFFFF"},
    {0x01020304, 0, 0x0A0B0C0D, "10000000 04030201 00000000 0D0C0B0A"},
};

// Takes and gives half of an integer.
struct HalfWriter final : Varnok::Writer {
    int write_int16(short) noexcept override { return 1; }
    int write_uint16(unsigned short) noexcept override { return 1; }
    int write_int32(int) noexcept override { return 2; }
    int write_int64(long long) noexcept override { return 4; }
    long long write_buffer(void const*, long long) noexcept override { return 0; }
};
struct HalfReader final : Varnok::Reader {
    int read_int16(short&) noexcept override { return 1; }
    int read_int32(int& value) noexcept override { return value = 16, 2; }
    int read_int64(long long&) noexcept override { return 4; }
    long long read_buffer(void*, long long) noexcept override { return 0; }
    [[nodiscard]] long long data_length() const noexcept override { return 16; }
    [[nodiscard]] long long remaining() const noexcept override { return 16; }
};

class SensRecordNodeTest : public testing::Test {
  protected:
    std::vector<std::string> Own() { return TakeOwn(log_); }

    TempRoot root_;
    LogLines log_;
};

TEST_F(SensRecordNodeTest, IsMadeWithoutCounts) {
    EXPECT_TRUE(SameCounts(SensRecordNode(), MakeRecord(0, 0, 0)));
    EXPECT_EQ(SensRecordNode().Size(), 16);
}

TEST_F(SensRecordNodeTest, IsEncodedFieldByField) {
    for (Sample const& sample : kSamples) {
        SensRecordNode record = MakeRecord(sample.realtime, sample.policy, sample.tool);
        EXPECT_EQ(record.Size(), 16);
        EXPECT_EQ(ToBytes(record), FromHex(sample.hex));
    }
}

TEST_F(SensRecordNodeTest, IsDecodedFieldByField) {
    for (Sample const& sample : kSamples) {
        SensRecordNode record = MakeRecord(7, 7, 7);
        EXPECT_TRUE(FromBytes(record, FromHex(sample.hex)));
        EXPECT_TRUE(SameCounts(record, MakeRecord(sample.realtime, sample.policy, sample.tool))) << sample.hex;
    }
    EXPECT_THAT(Own(), IsEmpty());
}

TEST_F(SensRecordNodeTest, OtherLengthIsRefused) {
    for (char const* const length : {"00000000", "0F000000", "11000000", "10000080", "FFFFFFFF"}) {
        SensRecordNode record;
        EXPECT_FALSE(FromBytes(record, FromHex(std::string(length) + "010000000200000003000000")));
        EXPECT_THAT(Own(), ElementsAre(Assertion("Read", 50, "FALSE"))) << length;
    }
}

TEST_F(SensRecordNodeTest, EveryFailedWriteHasItsLine) {
    int line = 36;
    for (std::size_t const room : {3U, 7U, 11U, 15U}) {
        Output output(room);
        EXPECT_FALSE(MakeRecord(1, 2, 3).Write(output.Get()));
        EXPECT_THAT(Own(), ElementsAre(Assertion("Write", line++, "WRITE_INT32 Ret: 0")));
    }
}

TEST_F(SensRecordNodeTest, EveryFailedReadHasItsLine) {
    std::string const whole = FromHex("10000000 01000000 02000000 03000000");
    struct {
        std::size_t length;
        int line;
    } const cases[] = {{3, 49}, {7, 52}, {11, 53}, {15, 54}};
    for (auto const& c : cases) {
        SensRecordNode record;
        EXPECT_FALSE(FromBytes(record, whole.substr(0, c.length)));
        EXPECT_THAT(Own(), ElementsAre(Assertion("Read", c.line, "READ_INT32 Ret: 0")));
    }
}

TEST_F(SensRecordNodeTest, HalfAnIntegerIsNone) {
    SensRecordNode record;
    HalfWriter writer;
    HalfReader reader;
    EXPECT_FALSE(record.Write(&writer));
    EXPECT_FALSE(record.Read(&reader, 16));
    EXPECT_THAT(Own(),
                ElementsAre(Assertion("Write", 36, "WRITE_INT32 Ret: 2"), Assertion("Read", 49, "READ_INT32 Ret: 2")));
}

TEST_F(SensRecordNodeTest, WithoutAWriterOrReaderThereIsNothing) {
    SensRecordNode record;
    EXPECT_FALSE(record.Write(nullptr));
    EXPECT_FALSE(record.Read(nullptr, 16));
    EXPECT_THAT(Own(), ElementsAre(Assertion("Write", 34, "NULL"), Assertion("Read", 46, "NULL")));
}

}  // namespace
