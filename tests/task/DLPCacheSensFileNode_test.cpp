#include "task/DLPCacheSensFileNode.h"

#include <climits>

#include "host/base/IBuffer.h"
#include "host/base/OBuffer.h"
#include "tests/storage/RecordBytes.h"
#include "tests/support/EveryDamage.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"

namespace {

using DLPCache::SensFileNode;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kRecord[] =
    "44 00 00 00"              // length
    "02 00 2f 00 61 00"        // path "/a"
    "02 00 4d 00 31 00"        // MD5 "M1"
    "01 00 00 00 00 00 00 00"  // the four attributes
    "02 00 00 00 00 00 00 00"
    "03 00 00 00 00 00 00 00"
    "ff ff ff ff ff ff ff ff"
    "01 00 76 00"                                // first extra text "v"
    "01 00 00 00 06 00 00 00 02 00 54 00 31 00"  // one template id, "T1"
    "00 00";                                     // no second extra text

SensFile SmallFile() {
    SensFile file;
    file.task_id = "not stored";
    file.sn = 7;
    file.file_path = "/a";
    file.file_md5 = "M1";
    file.file_attrs = {1, 2, 3, -1};
    file.extra_1 = "v";
    file.tpl_ids = {"T1"};
    file.tpl_names = {"not stored"};
    return file;
}

std::string Encode(SensFile const& file) {
    SensFileNode node(file);
    return ToBytes(node);
}

HString Long(std::size_t length) {
    return HString(std::string(length, 'x'));
}

class DLPCacheSensFileNodeTest : public testing::Test {
  protected:
    TempRoot root_;
};

TEST_F(DLPCacheSensFileNodeTest, RecordIsWrittenByteByByteAsItAlwaysWas) {
    EXPECT_EQ(Encode(SmallFile()), FromHex(kRecord));
    EXPECT_EQ(SensFileNode(SmallFile()).Size(), 68);
}

TEST_F(DLPCacheSensFileNodeTest, RecordIsReadBack) {
    SensFileNode node;
    ASSERT_TRUE(FromBytes(node, FromHex(kRecord)));
    EXPECT_EQ(node.Size(), 68);
    SensFile file;
    node.GiveTo(file);
    SensFile expected = SmallFile();
    expected.task_id.clear();
    expected.sn = 0;
    expected.tpl_names.clear();
    EXPECT_EQ(file, expected);
}

TEST_F(DLPCacheSensFileNodeTest, EmptyFileHasARecordOfItsFixedFields) {
    EXPECT_EQ(SensFileNode().Size(), 4 + 2 + 2 + 32 + 2 + 8 + 2);
    EXPECT_EQ(Encode(SensFile()).size(), 52U);
}

TEST_F(DLPCacheSensFileNodeTest, ReadReplacesTheTemplateIds) {
    SensFileNode node(SmallFile());
    ASSERT_TRUE(FromBytes(node, FromHex(kRecord)));
    EXPECT_THAT(node.tpl_ids, ElementsAre("T1"));
}

TEST_F(DLPCacheSensFileNodeTest, EveryCutRecordIsRefused) {
    ForEveryCut(FromHex(kRecord), [](std::string cut) {
        SensFileNode node;
        EXPECT_FALSE(FromBytes(node, cut)) << cut.size();
        // Nor does a length that agrees make a whole of it.
        if (cut.size() < 4) return;
        cut[0] = static_cast<char>(cut.size());
        EXPECT_FALSE(FromBytes(node, cut)) << cut.size();
    });
}

TEST_F(DLPCacheSensFileNodeTest, RecordOfAnotherLengthThanItsOwnIsRefused) {
    std::string bytes = FromHex(kRecord);
    ++bytes[0];
    SensFileNode node;
    EXPECT_FALSE(FromBytes(node, bytes));
    EXPECT_FALSE(FromBytes(node, FromHex(kRecord) + "x"));
}

TEST_F(DLPCacheSensFileNodeTest, NullReadersAndWritersAreRefused) {
    LogLines log;
    SensFileNode node(SmallFile());
    EXPECT_FALSE(node.Write(nullptr));
    EXPECT_FALSE(node.Read(nullptr, 68));
    EXPECT_THAT(log.TakeTexts(), ElementsAre("Write, Line:61, ASSERT_NULL", "Read, Line:76, ASSERT_NULL"));
}

// Where writing and reading stop at each length, and what they say of it.
struct Stop {
    int capacity;
    char const* written;
    char const* read;
};
Stop const kStops[] = {
    {0, "Write, Line:62, ASSERT_WRITE_INT32 Ret: 0", "Read, Line:78, ASSERT_READ_INT32 Ret: 0"},
    {4, "Write, Line:63, ASSERT_FALSE", "Read, Line:80, ASSERT_FALSE"},
    {10, "Write, Line:64, ASSERT_FALSE", "Read, Line:81, ASSERT_FALSE"},
    {16, "Write, Line:66, ASSERT_WRITE_INT64 Ret: 0", "Read, Line:83, ASSERT_READ_INT64 Ret: 0"},
    {40, "Write, Line:66, ASSERT_WRITE_INT64 Ret: 0", "Read, Line:83, ASSERT_READ_INT64 Ret: 0"},
    {48, "Write, Line:68, ASSERT_FALSE", "Read, Line:85, ASSERT_FALSE"},
    {52, "Write, Line:69, ASSERT_FALSE", "Read, Line:87, ASSERT_FALSE"},
    {66, "Write, Line:70, ASSERT_FALSE", "Read, Line:88, ASSERT_FALSE"},
};

class DLPCacheSensFileNodeStopTest : public DLPCacheSensFileNodeTest, public testing::WithParamInterface<Stop> {};
INSTANTIATE_TEST_SUITE_P(AtEachField, DLPCacheSensFileNodeStopTest, testing::ValuesIn(kStops));

TEST_P(DLPCacheSensFileNodeStopTest, FailedFieldIsLogged) {
    LogLines log;
    std::string bytes(68, '\0');
    auto* start = reinterpret_cast<unsigned char*>(bytes.data());
    Varnok::OBuffer writer(&start, 0, GetParam().capacity);
    SensFileNode node(SmallFile());
    EXPECT_FALSE(node.Write(&writer));
    EXPECT_EQ(log.TakeTexts().back(), GetParam().written);

    std::string const whole = FromHex(kRecord);
    Varnok::IBuffer reader(reinterpret_cast<unsigned char const*>(whole.data()), GetParam().capacity, false);
    EXPECT_FALSE(node.Read(&reader, 68));
    EXPECT_EQ(log.TakeTexts().back(), GetParam().read);
}

TEST_F(DLPCacheSensFileNodeTest, HostileCountsTakeNoMemory) {
    std::string bytes = FromHex(kRecord);
    for (std::size_t const place : {52U, 56U}) {  // the list's count and its size
        std::string hostile = bytes;
        hostile.replace(place, 4, FromHex("ff ff ff 7f"));
        SensFileNode node;
        EXPECT_FALSE(FromBytes(node, hostile));
        EXPECT_LE(node.tpl_ids.capacity(), 4U);
    }
}

using Field = HString SensFile::*;
class DLPCacheSensFileNodeTextTest : public DLPCacheSensFileNodeTest, public testing::WithParamInterface<Field> {};
INSTANTIATE_TEST_SUITE_P(EachText, DLPCacheSensFileNodeTextTest,
                         testing::Values(&SensFile::file_path, &SensFile::file_md5, &SensFile::extra_1,
                                         &SensFile::extra_2));

TEST_P(DLPCacheSensFileNodeTextTest, LongestTextIsEncodableAndTheNextIsNot) {
    SensFile file = SmallFile();
    file.*GetParam() = Long(32767);
    EXPECT_TRUE(SensFileNode::IsEncodable(file));
    SensFileNode node;
    ASSERT_TRUE(FromBytes(node, Encode(file)));
    SensFile read;
    node.GiveTo(read);
    EXPECT_EQ(read.*GetParam(), file.*GetParam());
    for (std::size_t const length : {32768U, 65535U, 65536U, 65537U, 98304U}) {
        file.*GetParam() = Long(length);
        EXPECT_FALSE(SensFileNode::IsEncodable(file)) << length;
        EXPECT_EQ(Encode(file), "not encoded") << length;
    }
}

TEST_F(DLPCacheSensFileNodeTest, LongTemplateIdIsNotEncodable) {
    SensFile file = SmallFile();
    file.tpl_ids = {"T1", Long(32768), "T2"};
    EXPECT_FALSE(SensFileNode::IsEncodable(file));
    EXPECT_EQ(Encode(file), "not encoded");
    file.tpl_ids[1] = Long(32767);
    EXPECT_TRUE(SensFileNode::IsEncodable(file));
    EXPECT_EQ(Encode(file).size(), 68U + 6 + 2 + 2 * 32767);
}

TEST_F(DLPCacheSensFileNodeTest, RecordWhoseLengthDoesNotFitIsNotEncodable) {
    SensFile file = SmallFile();
    // 32768 ids of 65536 bytes each, all sharing one text: 2 GiB.
    file.tpl_ids.assign(32768, Long(32767));
    EXPECT_FALSE(SensFileNode::IsEncodable(file));
    SensFileNode node(file);
    EXPECT_EQ(node.Size(), INT_MAX);
    unsigned char* bytes = nullptr;
    int length = 0;
    EXPECT_FALSE(node.ToBuffer(bytes, length));
    EXPECT_EQ(bytes, nullptr);
}

}  // namespace
