#include "storage/DLPCacheSerial.h"

#include <gtest/gtest.h>

#include "tests/storage/SerialFixture.h"
#include "tests/support/TempRoot.h"

namespace {

using Texts = std::vector<HString>;

// The text written with the limit.
std::string Written(HString const& text, int limit = 0) {
    Record record;
    Output output(200000);
    EXPECT_TRUE(record.WriteHString(output.Get(), text, limit));
    return output.Bytes();
}

// The text in the bytes; nothing may be left over.
HString Reread(std::string const& bytes, int limit = 0) {
    Record record;
    Input input(bytes);
    HString text("before");
    EXPECT_TRUE(record.ReadHString(input.Get(), text, limit));
    EXPECT_EQ(input.Remaining(), 0);
    return text;
}

// Reading the bytes fails and leaves the text empty.
void ExpectRefused(std::string const& bytes, int limit = 0) {
    Record record;
    Input input(bytes);
    HString text("before");
    EXPECT_FALSE(record.ReadHString(input.Get(), text, limit));
    EXPECT_EQ(text, HString());
}

TEST(SerialSize, OfEachIntegerIsItsWidth) {
    Record const record;
    EXPECT_EQ(record.Size(static_cast<signed char>(-1)), 1);
    EXPECT_EQ(record.Size(static_cast<unsigned char>(1)), 1);
    EXPECT_EQ(record.Size(static_cast<short>(-1)), 2);
    EXPECT_EQ(record.Size(static_cast<unsigned short>(1)), 2);
    EXPECT_EQ(record.Size(-1), 4);
    EXPECT_EQ(record.Size(1U), 4);
    EXPECT_EQ(record.Size(-1LL), 8);
    EXPECT_EQ(record.Size(1ULL), 8);
}

TEST(SerialSize, OfTextsCountsTwoBytesAUnitAndACountEach) {
    Record const record;
    EXPECT_EQ(record.Size(HString()), 2);
    EXPECT_EQ(record.Size(HString("abc")), 8);
    EXPECT_EQ(record.Size(HString("\xF0\x9F\x98\x80")), 6);  // a pair
    EXPECT_EQ(record.Size(Texts{}), 8);
    EXPECT_EQ(record.Size(Texts{HString("a"), HString("bc")}), 18);
}

TEST(SerialText, EmptyOneIsAZeroCount) {
    EXPECT_EQ(Written(HString()), FromHex("0000"));
    EXPECT_EQ(Reread(FromHex("0000")), HString());
}

TEST(SerialText, IsACountAndItsUnits) {
    std::string const bytes = FromHex("0400 6100 E900 3DD8 00DE");  // a, e acute, a pair
    EXPECT_EQ(Written(HString("a\xC3\xA9\xF0\x9F\x98\x80")), bytes);
    EXPECT_EQ(Reread(bytes), HString("a\xC3\xA9\xF0\x9F\x98\x80"));
}

TEST(SerialText, LongerThanTheLimitIsCutByTheWriterAndRefusedByTheReader) {
    std::string const bytes = FromHex("0400 6100 6200 6300 6400");
    EXPECT_EQ(Written(HString("abcdef"), 4), bytes);
    ExpectRefused(bytes, 3);
    EXPECT_EQ(Reread(bytes, 4), HString("abcd"));
    EXPECT_EQ(Reread(bytes, 0), HString("abcd"));
}

TEST(SerialText, LimitBelowOneIsNone) {
    EXPECT_EQ(Written(HString("ab"), -1), FromHex("0200 6100 6200"));
    EXPECT_EQ(Reread(FromHex("0200 6100 6200"), INT_MIN), HString("ab"));
}

TEST(SerialText, ZeroUnitEndsIt) {
    EXPECT_EQ(Reread(FromHex("0300 6100 0000 6200")), HString("a"));
    EXPECT_EQ(Reread(FromHex("0100 0000")), HString());
}

TEST(SerialText, EndingInsideItsUnitsIsRefused) {
    ExpectRefused(FromHex("0300 6100 6200 63"));
    ExpectRefused(FromHex("0300"));
}

TEST(SerialText, EndingInsideItsCountIsRefused) {
    ExpectRefused(FromHex("03"));
    ExpectRefused("");
}

TEST(SerialText, NegativeCountIsRefused) {
    ExpectRefused(FromHex("FFFF 6100 6200"));
    ExpectRefused(FromHex("0080 6100 6200"));
}

TEST(SerialText, OfTheLargestCountIsReadBack) {
    HString const text(std::u16string(32767, u'x'));
    std::string const bytes = Written(text);
    EXPECT_EQ(bytes.size(), 2U + 2U * 32767U);
    EXPECT_EQ(bytes.substr(0, 4), FromHex("FF7F 7800"));
    EXPECT_EQ(Reread(bytes), text);
}

TEST(SerialText, FromItsLimitOnTheCountWraps) {
    EXPECT_EQ(Written(HString(std::u16string(32768, u'x'))), FromHex("0080"));
    EXPECT_EQ(Written(HString(std::u16string(65536, u'x'))), FromHex("0000"));
    EXPECT_EQ(Written(HString(std::u16string(65537, u'x'))), FromHex("0100 7800"));
}

TEST(SerialList, OfTwoTextsIsAHeadAndTheTexts) {
    Record record;
    Texts const texts{HString("a"), HString("bc")};
    Output output(100);
    ASSERT_TRUE(record.WriteVTHString(output.Get(), texts, 0));
    EXPECT_EQ(output.Bytes(), FromHex("02000000 0A000000 0100 6100 0200 6200 6300"));
    EXPECT_EQ(record.Size(texts), 18);

    std::string const bytes = output.Bytes();
    Input input(bytes);
    Texts again;
    EXPECT_TRUE(record.ReadVTHString(input.Get(), again, 0));
    EXPECT_EQ(again, texts);
    EXPECT_EQ(input.Remaining(), 0);
}

TEST(SerialList, EmptyOneIsTwoZeros) {
    Record record;
    Output output(100);
    ASSERT_TRUE(record.WriteVTHString(output.Get(), {}, 0));
    EXPECT_EQ(output.Bytes(), FromHex("00000000 00000000"));
}

// Whether the bytes read as a list; `texts` receives its elements.
bool ReadList(std::string const& bytes, Texts& texts, int limit = 0) {
    Record record;
    Input input(bytes);
    return record.ReadVTHString(input.Get(), texts, limit);
}

TEST(SerialList, CountOfZeroReadsOnlyWithASizeOfZero) {
    Texts texts;
    EXPECT_TRUE(ReadList(FromHex("00000000 00000000"), texts));
    EXPECT_FALSE(ReadList(FromHex("00000000 02000000"), texts));
    EXPECT_FALSE(ReadList(FromHex("00000000 FEFFFFFF"), texts));
}

TEST(SerialList, NegativeCountIsLikeZero) {
    Texts texts;
    EXPECT_TRUE(ReadList(FromHex("FFFFFFFF 00000000"), texts));
    EXPECT_FALSE(ReadList(FromHex("FFFFFFFF 02000000"), texts));
    EXPECT_TRUE(texts.empty());
}

TEST(SerialList, ReadingAppends) {
    Texts texts{HString("old")};
    EXPECT_TRUE(ReadList(FromHex("01000000 04000000 0100 6100"), texts));
    EXPECT_EQ(texts, (Texts{HString("old"), HString("a")}));
}

TEST(SerialList, WhatWasReadBeforeAFailureStays) {
    Texts texts;
    EXPECT_FALSE(ReadList(FromHex("02000000 08000000 0100 6100 0100 62"), texts));
    EXPECT_EQ(texts, Texts{HString("a")});
}

TEST(SerialList, SizeSmallerThanItsTextsIsRefusedWithoutTheLastOne) {
    Texts texts;
    EXPECT_FALSE(ReadList(FromHex("02000000 07000000 0100 6100 0100 6200"), texts));
    EXPECT_EQ(texts, Texts{HString("a")});
}

TEST(SerialList, SizeLargerThanItsTextsIsRefused) {
    Texts texts;
    EXPECT_FALSE(ReadList(FromHex("02000000 09000000 0100 6100 0100 6200"), texts));
    EXPECT_EQ(texts.size(), 2U);
}

TEST(SerialList, SizeCountsATextThatAZeroUnitEndsAsItReads) {
    Texts texts;
    EXPECT_FALSE(ReadList(FromHex("01000000 06000000 0200 6100 0000"), texts));
    EXPECT_TRUE(ReadList(FromHex("01000000 04000000 0200 6100 0000"), texts));
}

TEST(SerialList, CutTextsMakeAListThatIsNotReadBack) {
    Record record;
    Output output(100);
    ASSERT_TRUE(record.WriteVTHString(output.Get(), {HString("abc")}, 2));
    EXPECT_EQ(output.Bytes(), FromHex("01000000 08000000 0200 6100 6200"));
    Texts texts;
    EXPECT_FALSE(ReadList(output.Bytes(), texts));
}

TEST(SerialList, HugeCountTakesNoMoreThanTheBytesHold) {
    Texts texts;
    EXPECT_FALSE(ReadList(FromHex("FFFFFF7F FFFFFF7F 0000 0000"), texts));
    EXPECT_EQ(texts.size(), 2U);
}

TEST(SerialList, LimitHoldsForEachText) {
    Texts texts;
    EXPECT_FALSE(ReadList(FromHex("01000000 06000000 0200 6100 6200"), texts, 1));
    EXPECT_TRUE(ReadList(FromHex("01000000 06000000 0200 6100 6200"), texts, 2));
}

TEST(SerialRecord, BecomesABufferOfItsSize) {
    Record record;
    record.size = 6;
    record.write = [](Varnok::Writer* w) { return w->write_int16(0x0201) == 2 && w->write_int32(0x06050403) == 4; };
    unsigned char* buf = nullptr;
    int len = 0;
    ASSERT_TRUE(record.ToBuffer(buf, len));
    std::unique_ptr<unsigned char[]> const owner(buf);
    EXPECT_EQ(std::string(buf, buf + len), FromHex("010203040506"));
}

TEST(SerialRecord, BufferThatWasThereIsFreed) {
    Record record;
    record.size = 2;
    record.write = [](Varnok::Writer* w) { return w->write_int16(7) == 2; };
    auto* buf = new unsigned char[100];  // a leak checker notices when it stays
    int len = 100;
    ASSERT_TRUE(record.ToBuffer(buf, len));
    std::unique_ptr<unsigned char[]> const owner(buf);
    EXPECT_EQ(len, 2);
}

TEST(SerialRecord, WritingFewerBytesThanItsSizeFails) {
    Record record;
    record.size = 3;
    record.write = [](Varnok::Writer* w) { return w->write_int16(7) == 2; };
    auto* buf = new unsigned char[1];
    int len = 1;
    EXPECT_FALSE(record.ToBuffer(buf, len));
    EXPECT_EQ(buf, nullptr);
}

TEST(SerialRecord, WritingMoreBytesThanItsSizeFails) {
    Record record;
    record.size = 1;
    record.write = [](Varnok::Writer* w) { return w->write_int16(7) == 2; };
    unsigned char* buf = nullptr;
    int len = 0;
    EXPECT_FALSE(record.ToBuffer(buf, len));
    EXPECT_EQ(buf, nullptr);
}

TEST(SerialRecord, WithoutASizeLeavesTheBufferAsItWas) {
    unsigned char bytes[1] = {42};
    for (int const size : {0, -1, INT_MIN, INT_MAX}) {
        Record record;
        record.size = size;
        unsigned char* buf = bytes;
        int len = 1;
        EXPECT_FALSE(record.ToBuffer(buf, len));
        EXPECT_EQ(buf, bytes);
    }
}

TEST(SerialRecord, ExceptionOfTheRecordIsAFailure) {
    Record record;
    record.size = 1;
    record.write = [](Varnok::Writer*) -> bool { throw std::bad_alloc(); };
    record.read = [](Varnok::Reader*, int) -> bool { throw std::bad_alloc(); };
    unsigned char* buf = nullptr;
    int len = 0;
    EXPECT_FALSE(record.ToBuffer(buf, len));
    EXPECT_EQ(buf, nullptr);
    unsigned char bytes[1] = {};
    EXPECT_FALSE(record.FromBuffer(bytes, 1));
}

TEST(SerialRecord, IsReadFromTheWholeBufferAndToldItsLength) {
    Record record;
    short value = 0;
    record.read = [&](Varnok::Reader* r, int length) {
        return length == 3 && r->data_length() == 3 && r->read_int16(value) == 2;
    };
    unsigned char bytes[] = {1, 2, 3};
    EXPECT_TRUE(record.FromBuffer(bytes, 3));
    EXPECT_EQ(value, 0x0201);
    record.read = [](Varnok::Reader*, int) { return false; };
    EXPECT_FALSE(record.FromBuffer(bytes, 3));
}

TEST(SerialRecord, NullBufferIsRefused) {
    Record record;
    EXPECT_FALSE(record.FromBuffer(nullptr, 3));
}

}  // namespace
