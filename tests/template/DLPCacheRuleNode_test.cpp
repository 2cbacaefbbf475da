#include "template/DLPCacheRuleNode.h"

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

#include "host/base/IBuffer.h"
#include "host/base/OBuffer.h"
#include "template/DLPCacheDNARuleNode.h"
#include "tests/storage/RecordBytes.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"
#include "tests/template/TplLogLines.h"

namespace {

using DLPCache::DNARuleNode;
using DLPCache::RuleNode;

// A rule "R" of sub-type 1001 with three matches and the texts "b", "a", "n" and "c", field by field.
constexpr char kRuleHex[] =
    "e9 03 00 00  1c 00 00 00"  // sub-type, body length 28
    "01 00 52 00"               // rule id
    "03 00 00 00 00 00 00 00"   // match count
    "01 00 62 00"               // text 2
    "01 00 61 00"               // text 1
    "01 00 6e 00"               // short name
    "01 00 63 00";              // text 3
// The same of sub-type 2005 with the value -2.
constexpr char kDnaHex[] =
    "d5 07 00 00  22 00 00 00"
    "01 00 52 00  03 00 00 00 00 00 00 00  01 00 62 00  01 00 61 00  01 00 6e 00  01 00 63 00"
    "fe ff ff ff  00 00";

void Fill(RuleNode& rule) {
    rule.rule_id = "R";
    rule.match_count = 3;
    rule.match_text_2 = "b";
    rule.match_text_1 = "a";
    rule.file_short_name = "n";
    rule.match_text_3 = "c";
}

// Writes into room for `capacity` bytes only.
bool WriteInto(RuleNode& rule, long long capacity) {
    std::vector<unsigned char> room(1000);
    unsigned char* bytes = room.data();
    Varnok::OBuffer writer(&bytes, 0, capacity);
    return rule.Write(&writer);
}

// Reads a body (what follows the sub-type).
bool ReadBody(RuleNode& rule, std::string const& body, int size) {
    Varnok::IBuffer reader(reinterpret_cast<unsigned char const*>(body.data()), static_cast<long long>(body.size()),
                           false);
    return rule.Read(&reader, size);
}

class DLPCacheRuleNodeTest : public testing::Test {
  protected:
    std::vector<std::string> Own() { return TakeOwn(log_); }

    TempRoot root_;
    LogLines log_;
};

TEST_F(DLPCacheRuleNodeTest, FactoryMakesAFingerprintRuleForItsSubTypeOnly) {
    EXPECT_NE(dynamic_cast<DNARuleNode*>(DLPCache::MakeRuleNode(2005).get()), nullptr);
    for (int const sub_type : {0, -1, 1001, 2004, 2006, std::numeric_limits<int>::min()}) {
        auto const rule = DLPCache::MakeRuleNode(sub_type);
        EXPECT_EQ(dynamic_cast<DNARuleNode*>(rule.get()), nullptr);
        EXPECT_EQ(rule->sub_type, sub_type);
    }
}

TEST_F(DLPCacheRuleNodeTest, IsEncodedFieldByField) {
    RuleNode rule(1001);
    Fill(rule);
    EXPECT_EQ(rule.Size(), 36);
    EXPECT_EQ(ToBytes(rule), FromHex(kRuleHex));
}

TEST_F(DLPCacheRuleNodeTest, FingerprintRuleIsEncodedWithItsValueAndText) {
    DNARuleNode rule;
    Fill(rule);
    rule.dna_value = -2;
    EXPECT_EQ(rule.Size(), 42);
    EXPECT_EQ(ToBytes(rule), FromHex(kDnaHex));
    rule.dna_text = "xy";
    EXPECT_EQ(rule.Size(), 46);
    EXPECT_EQ(ToBytes(rule).substr(36), FromHex("fe ff ff ff 02 00 78 00 79 00"));
}

TEST_F(DLPCacheRuleNodeTest, ReadsWhatItWrote) {
    RuleNode rule(1001);
    ASSERT_TRUE(ReadBody(rule, FromHex(kRuleHex).substr(4), 36));
    EXPECT_EQ(rule.rule_id, "R");
    EXPECT_EQ(rule.match_count, 3);
    EXPECT_EQ(rule.match_text_2, "b");
    EXPECT_EQ(rule.match_text_1, "a");
    EXPECT_EQ(rule.file_short_name, "n");
    EXPECT_EQ(rule.match_text_3, "c");
}

TEST_F(DLPCacheRuleNodeTest, FingerprintRuleReadsWhatItWrote) {
    DNARuleNode rule;
    ASSERT_TRUE(ReadBody(rule, FromHex(kDnaHex).substr(4), 42));
    EXPECT_EQ(rule.match_text_3, "c");
    EXPECT_EQ(rule.dna_value, -2);
    EXPECT_EQ(rule.dna_text, "");
}

TEST_F(DLPCacheRuleNodeTest, EmptyRuleIdDoesNotReadBackAndIsNotLogged) {
    RuleNode rule(1001);
    Fill(rule);
    rule.rule_id.clear();
    std::string const body = ToBytes(rule).substr(4);
    EXPECT_FALSE(ReadBody(rule, body, 34));
    EXPECT_THAT(log_.Take(), testing::IsEmpty());
}

TEST_F(DLPCacheRuleNodeTest, BodyLengthThatDiffersFromTheSizeTableIsRefused) {
    for (int const size : {35, 37, 28, 0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        RuleNode rule(1001);
        EXPECT_FALSE(ReadBody(rule, FromHex(kRuleHex).substr(4), size)) << size;
        EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Read", 99, "FALSE")));
    }
}

TEST_F(DLPCacheRuleNodeTest, BodyLengthAtTheEndOfItsRangeIsRefused) {
    RuleNode rule(1001);
    EXPECT_FALSE(ReadBody(rule, FromHex("ff ff ff 7f"), -2147483641));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Read", 99, "FALSE")));
}

TEST_F(DLPCacheRuleNodeTest, EveryFailedWriteHasItsLine) {
    struct {
        long long room;
        std::string line;
    } const cases[] = {
        {0, Assertion("Write", 76, "WRITE_INT32 Ret: 0")},
        {4, Assertion("Write", 79, "WRITE_INT32 Ret: 0")},
        {8, Assertion("Write", 81, "FALSE")},
        {12, Assertion("Write", 82, "WRITE_INT64 Ret: 0")},
        {20, Assertion("Write", 83, "FALSE")},
        {24, Assertion("Write", 84, "FALSE")},
        {28, Assertion("Write", 85, "FALSE")},
        {32, Assertion("Write", 86, "FALSE")},
    };
    RuleNode rule(1001);
    Fill(rule);
    for (auto const& c : cases) {
        EXPECT_FALSE(WriteInto(rule, c.room)) << c.room;
        EXPECT_THAT(Own(), testing::ElementsAre(c.line));
    }
    EXPECT_TRUE(WriteInto(rule, 36));
    EXPECT_FALSE(rule.Write(nullptr));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Write", 74, "NULL")));
}

TEST_F(DLPCacheRuleNodeTest, EveryFailedReadHasItsLine) {
    struct {
        std::size_t length;
        std::string line;
    } const cases[] = {
        {0, Assertion("Read", 98, "READ_INT32 Ret: 0")},
        {3, Assertion("Read", 98, "READ_INT32 Ret: 0")},
        {4, Assertion("Read", 101, "FALSE")},
        {8, Assertion("Read", 107, "READ_INT64 Ret: 0")},
        {16, Assertion("Read", 108, "FALSE")},
        {20, Assertion("Read", 109, "FALSE")},
        {24, Assertion("Read", 110, "FALSE")},
        {28, Assertion("Read", 111, "FALSE")},
    };
    for (auto const& c : cases) {
        RuleNode rule(1001);
        EXPECT_FALSE(ReadBody(rule, FromHex(kRuleHex).substr(4, c.length), 36)) << c.length;
        EXPECT_THAT(Own(), testing::ElementsAre(c.line));
    }
    RuleNode rule(1001);
    EXPECT_FALSE(rule.Read(nullptr, 36));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Read", 93, "NULL")));
}

TEST_F(DLPCacheRuleNodeTest, EveryFailedWriteOfAFingerprintRuleHasItsLine) {
    DNARuleNode rule;
    Fill(rule);
    EXPECT_FALSE(WriteInto(rule, 32));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Write", 86, "FALSE"), Assertion("Write", 160, "FALSE")));
    EXPECT_FALSE(WriteInto(rule, 36));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Write", 162, "WRITE_INT32 Ret: 0")));
    EXPECT_FALSE(WriteInto(rule, 40));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Write", 163, "FALSE")));
}

TEST_F(DLPCacheRuleNodeTest, EveryFailedReadOfAFingerprintRuleHasItsLine) {
    std::string const body = FromHex(kDnaHex).substr(4);
    DNARuleNode rule;
    EXPECT_FALSE(ReadBody(rule, body.substr(0, 28), 42));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Read", 111, "FALSE"), Assertion("Read", 170, "FALSE")));
    EXPECT_FALSE(ReadBody(rule, body.substr(0, 32), 42));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Read", 172, "READ_INT32 Ret: 0")));
    EXPECT_FALSE(ReadBody(rule, body.substr(0, 36), 42));
    EXPECT_THAT(Own(), testing::ElementsAre(Assertion("Read", 173, "FALSE")));
}

QVKReportKeywordAttachItem FullItem() {
    QVKReportKeywordAttachItem item;
    item.tpl_id = "tpl";
    item.rule_id = "R";
    item.rule_name = "rule";
    item.rule_type = 2;
    item.sub_type = 1007;
    item.rule_text = "rule text";
    item.match_text_1 = "1";
    item.match_text_2 = "2";
    item.match_count = -7;
    item.dna_value = 8;
    item.file_short_name = "n";
    item.match_text_3 = "3";
    return item;
}

TEST_F(DLPCacheRuleNodeTest, TakesAndGivesTheSevenStoredFields) {
    RuleNode rule(1);
    ASSERT_TRUE(rule.SetKeywordAttachItem(FullItem()));
    QVKReportKeywordAttachItem item;
    ASSERT_TRUE(rule.GetKeywordAttachItem(item));
    QVKReportKeywordAttachItem expected;
    expected.rule_id = "R";
    expected.sub_type = 1007;
    expected.match_text_1 = "1";
    expected.match_text_2 = "2";
    expected.match_count = -7;
    expected.file_short_name = "n";
    expected.match_text_3 = "3";
    EXPECT_EQ(item, expected);
}

TEST_F(DLPCacheRuleNodeTest, FingerprintRuleCopiesItsValueAndFailsAllTheSame) {
    DNARuleNode rule;
    EXPECT_FALSE(rule.SetKeywordAttachItem(FullItem()));
    EXPECT_EQ(rule.dna_value, 8);
    EXPECT_EQ(rule.rule_id, "R");
    QVKReportKeywordAttachItem item;
    EXPECT_FALSE(rule.GetKeywordAttachItem(item));
    EXPECT_EQ(item.dna_value, 8);
    EXPECT_EQ(item.match_text_3, "3");
    EXPECT_THAT(log_.Take(), testing::IsEmpty());
}

}  // namespace
