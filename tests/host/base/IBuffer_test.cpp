#include "host/base/IBuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace {

using Varnok::IBuffer;

unsigned char const kBytes[] = {0x01, 0x02, 0xFF, 0xFF, 0xFF, 0xFF, 8, 7, 6, 5, 4, 3, 2, 1, 'x', 'y', 'z'};

TEST(IBuffer, ReadsLittleEndianIntegersInOrder) {
    IBuffer reader(kBytes, sizeof kBytes, false);
    short first = 0;
    int second = 0;
    long long third = 0;
    EXPECT_EQ(reader.read_int16(first), 2);
    EXPECT_EQ(reader.read_int32(second), 4);
    EXPECT_EQ(reader.read_int64(third), 8);
    EXPECT_EQ(first, 0x0201);
    EXPECT_EQ(second, -1);
    EXPECT_EQ(third, 0x0102030405060708LL);
    EXPECT_EQ(reader.remaining(), 3);
    EXPECT_EQ(reader.data_length(), 17);
}

TEST(IBuffer, IntegerThatIsCutOffIsNotReadAtAll) {
    IBuffer reader(kBytes, 1, false);
    short narrow = 77;
    int middle = 77;
    long long wide = 77;
    EXPECT_EQ(reader.read_int16(narrow), 0);
    EXPECT_EQ(reader.read_int32(middle), 0);
    EXPECT_EQ(reader.read_int64(wide), 0);
    EXPECT_EQ(narrow + middle + wide, 3 * 77);
    EXPECT_EQ(reader.remaining(), 1);
}

TEST(IBuffer, BufferReadGivesWhatIsLeft) {
    IBuffer reader(kBytes, sizeof kBytes, false);
    char taken[32] = "";
    EXPECT_EQ(reader.read_buffer(taken, 14), 14);
    EXPECT_EQ(reader.read_buffer(taken, 10), 3);
    EXPECT_EQ(std::memcmp(taken, "xyz", 3), 0);
    EXPECT_EQ(reader.read_buffer(taken, 10), 0);
}

TEST(IBuffer, HostileLengthsReadNothingBeyondTheData) {
    IBuffer reader(kBytes, sizeof kBytes, false);
    char taken[32] = "";
    EXPECT_EQ(reader.read_buffer(taken, -1), 0);
    EXPECT_EQ(reader.read_buffer(taken, std::numeric_limits<long long>::min()), 0);
    EXPECT_EQ(reader.read_buffer(nullptr, 4), 0);
    EXPECT_EQ(reader.read_buffer(taken, std::numeric_limits<long long>::max()), 17);
}

TEST(IBuffer, NegativeLengthAndNullCountAsEmpty) {
    short value = 0;
    EXPECT_EQ(IBuffer(kBytes, -5, false).remaining(), 0);
    EXPECT_EQ(IBuffer(nullptr, 100, false).read_int16(value), 0);
    EXPECT_EQ(IBuffer(nullptr, 100, true).data_length(), 0);
}

TEST(IBuffer, FreesAnArrayThatItOwns) {
    // Checked by the sanitizers: neither leaked nor freed twice.
    IBuffer const reader(new unsigned char[3]{1, 2, 3}, 3, true);
    EXPECT_EQ(reader.remaining(), 3);
}

}  // namespace
