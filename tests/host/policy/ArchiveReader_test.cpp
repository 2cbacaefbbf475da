#include "host/policy/ArchiveReader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/policy/ArchiveWriter.h"

namespace {

using Varnok::ArchiveReader;
using Varnok::ArchiveWriter;

std::string Bytes(std::initializer_list<int> values) {
    std::string bytes;
    for (int const value : values)
        bytes += static_cast<char>(value);
    return bytes;
}

TEST(ArchiveWriter, WritesIntegersLeastByteFirst) {
    ArchiveWriter writer;
    writer.PutByte(0xAB);
    writer.PutInt32(-2);
    writer.PutInt64(0x0102030405060708);
    writer.PutCount(258);
    EXPECT_EQ(writer.bytes(), Bytes({0xAB, 0xFE, 0xFF, 0xFF, 0xFF, 8, 7, 6, 5, 4, 3, 2, 1, 2, 1, 0, 0}));
}

TEST(ArchiveWriter, WritesTextsAsCountAndUnits) {
    ArchiveWriter writer;
    writer.PutTexts({HString("a"), HString(), HString("\xC3\xA9\xFF")});
    EXPECT_EQ(writer.bytes(), Bytes({3, 0, 0, 0, 1, 0, 0, 0, 'a', 0, 0, 0, 0, 0, 2, 0, 0, 0, 0xE9, 0, 0xFF, 0xDC}));
}

TEST(ArchiveWriter, RefusesACountThat32BitsDoNotHold) {
    ArchiveWriter writer;
    EXPECT_THROW(writer.PutCount(std::size_t{1} << 32), std::length_error);
    EXPECT_TRUE(writer.bytes().empty());
}

TEST(ArchiveReader, ReadsBackWhatWasWritten) {
    std::vector<HString> const texts = {HString("one"), HString(), HString("\xF0\x9F\x98\x80 \x80")};
    ArchiveWriter writer;
    writer.PutByte(200);
    writer.PutInt32(std::numeric_limits<std::int32_t>::min());
    writer.PutInt64(std::numeric_limits<std::int64_t>::min());
    writer.PutTexts(texts);

    ArchiveReader reader(writer.bytes());
    std::uint8_t byte = 0;
    std::int32_t small = 0;
    std::int64_t large = 0;
    std::vector<HString> read;
    EXPECT_TRUE(reader.GetByte(byte) && reader.GetInt32(small) && reader.GetInt64(large) && reader.GetTexts(read));
    EXPECT_EQ(byte, 200);
    EXPECT_EQ(small, std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(large, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(read, texts);
    EXPECT_TRUE(reader.AtEnd());
}

TEST(ArchiveReader, BytesLeftOverAreNotTheEnd) {
    ArchiveReader reader(std::string_view("\x01\x02", 2));
    std::uint8_t byte = 0;
    EXPECT_TRUE(reader.GetByte(byte));
    EXPECT_FALSE(reader.AtEnd());
}

TEST(ArchiveReader, AFailedReadLeavesTheValueAndFailsAllLaterOnes) {
    ArchiveReader reader(std::string_view("\x01\x02\x03", 3));
    std::int32_t value = 77;
    std::uint8_t byte = 77;
    EXPECT_FALSE(reader.GetInt32(value));
    EXPECT_EQ(value, 77);
    EXPECT_FALSE(reader.GetByte(byte)) << "three bytes are left, but a read has failed";
    EXPECT_EQ(byte, 77);
    EXPECT_FALSE(reader.AtEnd());
}

TEST(ArchiveReader, BelievesNoCountThatTheBytesCannotBack) {
    std::string const bytes = Bytes({2, 0, 0, 0, 9, 9, 9, 9, 9, 9, 9, 9});
    std::size_t count = 77;
    EXPECT_TRUE(ArchiveReader(bytes).GetCount(count, 4));
    EXPECT_EQ(count, 2U);
    count = 77;
    EXPECT_FALSE(ArchiveReader(bytes).GetCount(count, 5));
    EXPECT_EQ(count, 77U);
}

TEST(ArchiveReader, RefusesHostileTexts) {
    HString text("kept");
    std::vector<HString> texts = {HString("kept")};
    for (std::string const& bytes : {Bytes({}), Bytes({1, 0, 0}), Bytes({1, 0, 0, 0, 'a'}), Bytes({2, 0, 0, 0, 'a', 0}),
                                     Bytes({0xFF, 0xFF, 0xFF, 0xFF, 'a', 0}), Bytes({0, 0, 0, 0x80, 0, 0})}) {
        EXPECT_FALSE(ArchiveReader(bytes).GetText(text));
        EXPECT_FALSE(ArchiveReader(bytes).GetTexts(texts));
    }
    EXPECT_FALSE(ArchiveReader(Bytes({1, 0, 0, 0, 1, 0, 0, 0, 'a'})).GetTexts(texts));
    EXPECT_EQ(text, HString("kept"));
    EXPECT_EQ(texts.size(), 1U);
}

}  // namespace
