#include "template/DLPCacheTplNode.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "host/base/IBuffer.h"
#include "host/base/OBuffer.h"
#include "template/DLPCacheDNARuleNode.h"
#include "tests/storage/RecordBytes.h"
#include "tests/support/TempRoot.h"
#include "tests/template/TplLogLines.h"

namespace {

using DLPCache::RuleNode;
using DLPCache::TplNode;
using testing::ElementsAre;

// The name "s", one rule "R" of sub-type 1001, and the text "x" of the template "T".
constexpr char kRecordHex[] =
    "59 00 00 00"                                                             // 0: total size 89
    "00 00"                                                                   // 4: reserved
    "01 00 73 00"                                                             // 6: stored name
    "01 00"                                                                   // 10: rule count
    "24 00 00 00"                                                             // 12: rule sizes
    "e9 03 00 00  1c 00 00 00  01 00 52 00"                                   // 16: sub-type, body length, rule id
    "03 00 00 00 00 00 00 00"                                                 // 28: match count
    "01 00 62 00  01 00 61 00  01 00 6e 00  01 00 63 00"                      // 36: text 2, text 1, short name, text 3
    "21 00 00 00"                                                             // 52: text length 33
    "01  01 00 00 00 54 00  00 00 00 00"                                      // 56: version, template id, lines
    "01 00 00 00 78 00  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00";  // text, and what is empty
constexpr int kRecordSize = 89;

QVKReportKeywordAttachItem Item(int sub_type = 1001) {
    QVKReportKeywordAttachItem item;
    item.rule_id = "R";
    item.sub_type = sub_type;
    item.match_text_1 = "a";
    item.match_text_2 = "b";
    item.match_count = 3;
    item.file_short_name = "n";
    item.match_text_3 = "c";
    return item;
}

QVKReportKeywordAttachNode OneItem() {
    QVKReportKeywordAttachNode node;
    node.items = {Item()};
    return node;
}

QVKKeywordText Text() {
    QVKKeywordText text;
    text.tpl_id = "T";
    text.text = "x";
    return text;
}

// A rule that claims any size.
struct SizedRule final : RuleNode {
    using SerialBasic::Size;
    explicit SizedRule(int claimed) : RuleNode(1), size(claimed) {}
    [[nodiscard]] int Size() const override { return size; }
    int size;
};

// Hands out the bytes of a record and notes the longest run that it was asked for.
class WatchedReader final : public Varnok::Reader {
  public:
    explicit WatchedReader(std::string const& bytes)
        : reader_(reinterpret_cast<unsigned char const*>(bytes.data()), static_cast<long long>(bytes.size()), false) {}
    int read_int16(short& value) noexcept override { return reader_.read_int16(value); }
    int read_int32(int& value) noexcept override { return reader_.read_int32(value); }
    int read_int64(long long& value) noexcept override { return reader_.read_int64(value); }
    long long read_buffer(void* bytes, long long length) noexcept override {
        longest = std::max(longest, length);
        return reader_.read_buffer(bytes, length);
    }
    [[nodiscard]] long long data_length() const noexcept override { return reader_.data_length(); }
    [[nodiscard]] long long remaining() const noexcept override { return reader_.remaining(); }

    long long longest = 0;

  private:
    Varnok::IBuffer reader_;
};

class DLPCacheTplNodeTest : public testing::Test {
  protected:
    DLPCacheTplNodeTest() {
        node_.stored_name = "s";
        EXPECT_TRUE(node_.SetKeywordAttach(OneItem(), Text()));
    }
    std::vector<std::string> Own() { return TakeOwn(log_); }
    bool WriteInto(long long capacity) {
        std::vector<unsigned char> room(1000);
        unsigned char* bytes = room.data();
        Varnok::OBuffer writer(&bytes, 0, capacity);
        return node_.Write(&writer);
    }
    // The record with four bytes replaced.
    static std::string With(std::size_t offset, std::string const& hex) {
        std::string const bytes = FromHex(hex);
        return FromHex(kRecordHex).replace(offset, bytes.size(), bytes);
    }
    // The record cut off, with a total size that agrees.
    static std::string CutAt(std::size_t length) {
        std::string bytes = FromHex(kRecordHex).substr(0, length);
        if (length > 0) bytes[0] = static_cast<char>(length);
        return bytes;
    }

    TempRoot root_;
    TplNode node_;
    LogLines log_;
};

TEST_F(DLPCacheTplNodeTest, IsEncodedFieldByField) {
    EXPECT_EQ(node_.Size(), kRecordSize);
    EXPECT_EQ(ToBytes(node_), FromHex(kRecordHex));
}

TEST_F(DLPCacheTplNodeTest, ReadsWhatItWrote) {
    TplNode read;
    ASSERT_TRUE(FromBytes(read, FromHex(kRecordHex)));
    EXPECT_EQ(read.Size(), kRecordSize);
    EXPECT_EQ(read.stored_name, "s");
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    ASSERT_TRUE(read.GetKeywordAttach(node, text));
    EXPECT_EQ(node, OneItem());
    EXPECT_EQ(text, Text());
}

TEST_F(DLPCacheTplNodeTest, WithoutRulesHasNoSizeAndNoEncoding) {
    TplNode empty;
    EXPECT_EQ(empty.Size(), 0);
    EXPECT_EQ(ToBytes(empty), "not encoded");
}

TEST_F(DLPCacheTplNodeTest, WithoutTextIsFourBytesShortAndHasNoEncoding) {
    TplNode node;
    node.rules.push_back(DLPCache::MakeRuleNode(1001));
    EXPECT_EQ(node.Size(), 4 + 2 + 2 + 2 + 4 + 26);
    EXPECT_EQ(ToBytes(node), "not encoded");
}

TEST_F(DLPCacheTplNodeTest, FingerprintItemIsAppendedAndRefused) {
    TplNode node;
    QVKReportKeywordAttachNode attach;
    attach.items = {Item(), Item(2005), Item()};
    EXPECT_FALSE(node.SetKeywordAttach(attach, Text()));
    ASSERT_EQ(node.rules.size(), 2U);
    EXPECT_NE(dynamic_cast<DLPCache::DNARuleNode*>(node.rules.back().get()), nullptr);
    EXPECT_THAT(Own(), ElementsAre(Assertion("SetKeywordAttach", 232, "FALSE")));
    EXPECT_EQ(ToBytes(node), "not encoded");
}

TEST_F(DLPCacheTplNodeTest, StoredFingerprintRuleIsNotGivenBack) {
    TplNode node;
    node.rules.push_back(DLPCache::MakeRuleNode(1001));
    node.rules.push_back(DLPCache::MakeRuleNode(2005));
    QVKReportKeywordAttachNode attach;
    QVKKeywordText text;
    EXPECT_FALSE(node.GetKeywordAttach(attach, text));
    EXPECT_EQ(attach.items.size(), 1U);
    EXPECT_THAT(Own(), ElementsAre(Assertion("GetKeywordAttach", 206, "FALSE")));
}

TEST_F(DLPCacheTplNodeTest, GivesItsRulesAgainAndAgain) {
    QVKReportKeywordAttachNode attach;
    QVKKeywordText text;
    ASSERT_TRUE(node_.GetKeywordAttach(attach, text));
    ASSERT_TRUE(node_.GetKeywordAttach(attach, text));
    EXPECT_THAT(attach.items, ElementsAre(Item(), Item()));
}

TEST_F(DLPCacheTplNodeTest, GivesItsRulesAway) {
    QVKReportKeywordAttachNode attach;
    QVKKeywordText text;
    ASSERT_TRUE(node_.GiveKeywordAttach(attach, text));
    EXPECT_EQ(attach, OneItem());
    EXPECT_EQ(text, Text());
}

TEST_F(DLPCacheTplNodeTest, FingerprintRuleIsNotGivenAwayEither) {
    node_.rules.push_back(DLPCache::MakeRuleNode(2005));
    QVKReportKeywordAttachNode attach;
    QVKKeywordText text;
    EXPECT_FALSE(node_.GiveKeywordAttach(attach, text));
    EXPECT_EQ(attach, OneItem());
    EXPECT_THAT(Own(), ElementsAre(Assertion("GetKeywordAttach", 206, "FALSE")));
}

TEST_F(DLPCacheTplNodeTest, SecondTextReplacesTheFirst) {
    QVKKeywordText longer = Text();
    longer.text = "xyz";
    ASSERT_TRUE(node_.SetKeywordAttach(QVKReportKeywordAttachNode(), longer));
    EXPECT_EQ(node_.Size(), kRecordSize + 4);
}

TEST_F(DLPCacheTplNodeTest, MissingRuleIsRefusedEverywhere) {
    node_.rules.push_back(nullptr);
    EXPECT_EQ(node_.Size(), 0);
    EXPECT_THAT(Own(), ElementsAre(Assertion("DetectCacheSize", 279, "NULL")));
    EXPECT_FALSE(WriteInto(1000));
    EXPECT_THAT(Own(), ElementsAre(Assertion("DetectCacheSize", 279, "NULL"), Assertion("Write", 320, "NULL")));
    QVKReportKeywordAttachNode attach;
    QVKKeywordText text;
    EXPECT_FALSE(node_.GetKeywordAttach(attach, text));
    EXPECT_THAT(Own(), ElementsAre(Assertion("GetKeywordAttach", 203, "NULL")));
}

TEST_F(DLPCacheTplNodeTest, RuleWithoutSizeMakesTheWholeSizeless) {
    for (int const size : {0, -1}) {
        node_.rules.back() = std::make_unique<SizedRule>(size);
        EXPECT_EQ(node_.Size(), 0);
    }
    EXPECT_THAT(log_.Take(), testing::IsEmpty());
}

TEST_F(DLPCacheTplNodeTest, SizeThatDoesNotFitIsNone) {
    node_.rules.push_back(std::make_unique<SizedRule>(std::numeric_limits<int>::max()));
    EXPECT_EQ(node_.Size(), 0);
}

TEST_F(DLPCacheTplNodeTest, RuleCountIsReadUnsigned) {
    for (std::size_t const count : {32767U, 32768U, 40000U, 65534U}) {
        QVKReportKeywordAttachNode many;
        many.items.assign(count, Item());
        TplNode node;
        ASSERT_TRUE(node.SetKeywordAttach(many, Text()));
        TplNode read;
        ASSERT_TRUE(FromBytes(read, ToBytes(node))) << count;
        EXPECT_EQ(read.rules.size(), count);
        EXPECT_EQ(read.Size(), node.Size());
    }
}

TEST_F(DLPCacheTplNodeTest, MoreThan65534RulesAreRefused) {
    QVKReportKeywordAttachNode many;
    many.items.assign(65535, Item());
    TplNode node;
    ASSERT_TRUE(node.SetKeywordAttach(many, Text()));
    EXPECT_EQ(node.Size(), 0);
    EXPECT_THAT(Own(), ElementsAre(Assertion("DetectCacheSize", 271, "FALSE")));
    std::vector<unsigned char> room(1000);
    unsigned char* bytes = room.data();
    Varnok::OBuffer writer(&bytes, 0, 1000);
    EXPECT_FALSE(node.Write(&writer));
    EXPECT_THAT(Own(), ElementsAre(Assertion("DetectCacheSize", 271, "FALSE"), Assertion("Write", 311, "FALSE")));
}

TEST_F(DLPCacheTplNodeTest, EveryFailedWriteHasItsLine) {
    struct {
        long long room;
        int line;
        char const* word;
    } const cases[] = {
        {0, 305, "WRITE_INT32 Ret: 0"},
        {4, 307, "FALSE"},
        {6, 308, "FALSE"},
        {10, 314, "WRITE_INT16  Ret: 0"},
        {12, 323, "WRITE_BUFFER Ret: 0"},
        {52, 334, "WRITE_INT32 Ret: 0"},
        {56, 338, "WRITE_BUFFER Ret: 0"},
    };
    for (auto const& c : cases) {
        EXPECT_FALSE(WriteInto(c.room)) << c.room;
        EXPECT_THAT(Own(), ElementsAre(Assertion("Write", c.line, c.word)));
    }
    EXPECT_FALSE(WriteInto(16));
    EXPECT_THAT(Own(), ElementsAre(Assertion("Write", 76, "WRITE_INT32 Ret: 0"), Assertion("Write", 330, "FALSE")));
    EXPECT_FALSE(node_.Write(nullptr));
    EXPECT_THAT(Own(), ElementsAre(Assertion("Write", 302, "NULL")));
}

TEST_F(DLPCacheTplNodeTest, EveryFailedReadHasItsLine) {
    struct {
        std::size_t length;
        int line;
        char const* word;
    } const cases[] = {
        {0, 352, "READ_INT32 Ret: 0"},
        {4, 355, "FALSE"},
        {6, 356, "FALSE"},
        {10, 359, "READ_INT16  Ret: 0"},
        {12, 361, "READ_BUFFER Ret: 0"},
        {14, 361, "READ_BUFFER Ret: 2"},
        {16, 366, "READ_INT32 Ret: 0"},
        {52, 376, "READ_INT32 Ret: 0"},
        {56, 387, "READ_BUFFER Ret: 0"},
        {60, 387, "READ_BUFFER Ret: 4"},
    };
    for (auto const& c : cases) {
        TplNode node;
        EXPECT_FALSE(FromBytes(node, CutAt(c.length))) << c.length;
        EXPECT_THAT(Own(), ElementsAre(Assertion("Read", c.line, c.word)));
    }
    TplNode node;
    EXPECT_FALSE(FromBytes(node, CutAt(20)));
    EXPECT_THAT(Own(), ElementsAre(Assertion("Read", 98, "READ_INT32 Ret: 0"), Assertion("Read", 372, "FALSE")));
    EXPECT_FALSE(node.Read(nullptr, 0));
    EXPECT_THAT(Own(), ElementsAre(Assertion("Read", 349, "NULL")));
}

TEST_F(DLPCacheTplNodeTest, TotalSizeThatIsNotTheDataLengthIsRefused) {
    for (char const* size : {"58 00 00 00", "5a 00 00 00", "00 00 00 00", "ff ff ff ff", "59 00 00 80"}) {
        TplNode node;
        EXPECT_FALSE(FromBytes(node, With(0, size))) << size;
        EXPECT_THAT(Own(), ElementsAre(Assertion("Read", 353, "FALSE")));
    }
}

TEST_F(DLPCacheTplNodeTest, RuleThatDiffersFromItsTableEntryIsRefused) {
    TplNode node;
    EXPECT_FALSE(FromBytes(node, With(12, "25 00 00 00")));
    EXPECT_THAT(Own(), ElementsAre(Assertion("Read", 99, "FALSE"), Assertion("Read", 372, "FALSE")));
}

TEST_F(DLPCacheTplNodeTest, TextLengthBelowOneReadsAsNoText) {
    for (char const* length : {"00 00 00 00", "ff ff ff ff", "00 00 00 80"}) {
        TplNode node;
        ASSERT_TRUE(FromBytes(node, With(52, length))) << length;
        EXPECT_EQ(node.Size(), 52);  // so that the cache notices
        QVKReportKeywordAttachNode attach;
        QVKKeywordText text = Text();
        ASSERT_TRUE(node.GetKeywordAttach(attach, text));
        EXPECT_EQ(text, QVKKeywordText());
    }
    EXPECT_THAT(log_.Take(), testing::IsEmpty());
}

TEST_F(DLPCacheTplNodeTest, DamagedTextComesBackEmpty) {
    TplNode node;
    ASSERT_TRUE(FromBytes(node, With(56, "02")));
    QVKReportKeywordAttachNode attach;
    QVKKeywordText text = Text();
    ASSERT_TRUE(node.GetKeywordAttach(attach, text));
    EXPECT_EQ(attach, OneItem());
    EXPECT_EQ(text, QVKKeywordText());
}

TEST_F(DLPCacheTplNodeTest, NothingIsTakenThatTheRecordCannotBack) {
    for (std::string const& hostile :
         {With(10, "ff ff"), With(52, "ff ff ff 7f"), With(6, "ff 7f"), With(24, "ff 7f")}) {
        WatchedReader reader(hostile);
        TplNode node;
        EXPECT_FALSE(node.Read(&reader, 0));
        // A text's count is 16 bits wide, so it alone may ask for up to 64 KiB.
        EXPECT_LE(reader.longest, 65534);
    }
    EXPECT_THAT(Own(), testing::IsSupersetOf({Assertion("Read", 361, "READ_BUFFER Ret: 77"),
                                              Assertion("Read", 387, "READ_BUFFER Ret: 33")}));
}

}  // namespace
