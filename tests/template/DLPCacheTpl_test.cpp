#include "template/DLPCacheTpl.h"

#include <filesystem>

#include "host/policy/KwDefineMgr.h"
#include "tests/template/TplFixture.h"
#include "tests/template/TplLogLines.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kMd5[] = "0123456789ABCDEF0123456789ABCDEF";

class DLPCacheTplTest : public TplFixture {
  protected:
    int Add(DLPCacheTpl const& cache, QVKReportKeywordAttachNode const& node) {
        return cache.Add(HString(kMd5), node, MakeText("text"), "stored");
    }
};

TEST_F(DLPCacheTplTest, MatchedAnswerComesBackWithTextNameAndDefinitions) {
    auto const cache = Open();
    ASSERT_EQ(Add(*cache, TwoItems()), 1);
    Found const found = FindIn(*cache, kMd5);
    EXPECT_EQ(found.code, 2);
    EXPECT_EQ(found.stored_name, "stored");
    EXPECT_EQ(found.text, MakeText("text"));
    QVKReportKeywordAttachNode expected = TwoItems();
    for (auto& item : expected.items) {
        item.tpl_id = "T1";
        item.tpl_name = "Contracts";
        item.data_class_id = "C1";
        item.data_class_name = "Secret";
        item.data_level_id = "L1";
        item.data_level_name = "High";
        item.rule_name = HString("name of ") << item.rule_id;
        item.rule_type = 1;
        item.rule_text = HString("text of ") << item.rule_id;
    }
    EXPECT_EQ(found.node, expected);
}

TEST_F(DLPCacheTplTest, AnswerWithoutItemsIsStoredEmptyAndFoundAsNotMatched) {
    auto const cache = Open();
    EXPECT_EQ(Add(*cache, QVKReportKeywordAttachNode()), 0);
    QVKReportKeywordAttachNode node = TwoItems();
    QVKKeywordText text;
    HString stored_name;
    EXPECT_EQ(cache->Find(HString(kMd5), node, text, stored_name), 1);
    EXPECT_EQ(node, QVKReportKeywordAttachNode());
}

TEST_F(DLPCacheTplTest, UnknownKeyIsNotFoundAndLeavesTheNodeReset) {
    auto const cache = Open();
    QVKReportKeywordAttachNode node = TwoItems();
    QVKKeywordText text;
    HString stored_name;
    EXPECT_EQ(cache->Find(HString("unknown"), node, text, stored_name), 0);
    EXPECT_EQ(node, QVKReportKeywordAttachNode());
}

TEST_F(DLPCacheTplTest, FingerprintItemMakesAnAnswerUnstorable) {
    auto const cache = Open();
    QVKReportKeywordAttachNode node = TwoItems();
    node.items.push_back(MakeItem("R1", 2005));
    EXPECT_EQ(Add(*cache, node), -17);
    EXPECT_EQ(FindIn(*cache, kMd5).code, 0);
}

TEST_F(DLPCacheTplTest, TooManyItemsMakeAnAnswerUnstorable) {
    auto const cache = Open();
    QVKReportKeywordAttachNode node;
    node.items.assign(65535, MakeItem("R", 1));
    EXPECT_EQ(Add(*cache, node), -17);
    node.items.pop_back();
    EXPECT_EQ(Add(*cache, node), 1);
    EXPECT_EQ(FindIn(*cache, kMd5).node.items.size(), 65534U);
}

TEST_F(DLPCacheTplTest, ItemWithTooLongATextIsUnstorable) {
    auto const cache = Open();
    QVKReportKeywordAttachNode node = TwoItems();
    node.items[0].match_text_1 = std::string(32768, 'x');
    EXPECT_EQ(Add(*cache, node), -17);
    node.items[0].match_text_1 = std::string(32767, 'x');
    EXPECT_EQ(Add(*cache, node), 1);
    EXPECT_EQ(FindIn(*cache, kMd5).node.items[0].match_text_1, node.items[0].match_text_1);
}

TEST_F(DLPCacheTplTest, ItemWithoutRuleIdIsStoredButDoesNotComeBack) {
    NotSound();
    auto const cache = Open();
    QVKReportKeywordAttachNode node = TwoItems();
    node.items[1].rule_id.clear();
    EXPECT_EQ(Add(*cache, node), 1);
    EXPECT_EQ(FindIn(*cache, kMd5).code, -18);
}

TEST_F(DLPCacheTplTest, CacheForAnOutOfDateMd5RefusesEverything) {
    DLPCacheTpl const cache(Current(), "ABC");
    LogLines log;
    EXPECT_EQ(cache.Add(HString("k"), TwoItems(), MakeText("t"), "n"), -2);
    EXPECT_EQ(cache.Add(HString("k"), QVKReportKeywordAttachNode(), MakeText("t"), "n"), -2);
    EXPECT_THAT(TakeOwn(log), ElementsAre(Assertion("Add", 555, "NULL"), Assertion("Add", 555, "NULL")));
    EXPECT_EQ(FindIn(cache, HString("k")).code, -2);
    EXPECT_EQ(FindIn(cache, MakeKey("n", "k")).code, -2);
    EXPECT_THAT(TakeOwn(log), ElementsAre(Assertion("Find", 489, "NULL"), Assertion("Find", 489, "NULL")));
    EXPECT_FALSE(cache.IsDependFileAttr());
}

TEST_F(DLPCacheTplTest, CodesOfTheStoreArePassedOn) {
    auto const cache = Open();
    ASSERT_EQ(Add(*cache, TwoItems()), 1);
    std::filesystem::remove(Dir() + "cache");
    EXPECT_EQ(FindIn(*cache, kMd5).code, -13);
    std::filesystem::remove(Dir() + "index");
    EXPECT_EQ(FindIn(*cache, kMd5).code, -3);
    EXPECT_EQ(Add(*cache, TwoItems()), -3);
    EXPECT_EQ(Add(*cache, QVKReportKeywordAttachNode()), -3);
}

TEST_F(DLPCacheTplTest, DataFileThatCannotBeOpenedForWritingIsPassedOn) {
    NotSound();
    auto const cache = Open();
    std::filesystem::create_directory(Dir() + "cache");
    EXPECT_EQ(Add(*cache, TwoItems()), -6);
}

TEST_F(DLPCacheTplTest, KeyIsTheMd5AsItStands) {
    auto const cache = Open();
    ASSERT_EQ(cache->Add(MakeKey("a.txt", "ABC"), TwoItems(), MakeText("t"), "n"), 1);
    EXPECT_EQ(FindIn(*cache, HString("ABC")).code, 2);
    EXPECT_EQ(FindIn(*cache, HString("abc")).code, 0);
    EXPECT_EQ(FindIn(*cache, MakeKey("other.txt", "ABC")).code, 2);
}

class FileAttributeTest : public DLPCacheTplTest, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(SubTypes, FileAttributeTest, testing::Values(2001, 2002));

TEST_P(FileAttributeTest, KeyIsTheHashOfNameAndMd5) {
    AddRule("R3", GetParam());
    auto const cache = Open();
    EXPECT_TRUE(cache->IsDependFileAttr());
    ASSERT_EQ(cache->Add(MakeKey("Doc.TXT", "ABC"), TwoItems(), MakeText("t"), "n"), 1);
    EXPECT_EQ(FindIn(*cache, MakeKey("doc.txt", "ABC")).code, 2);
    EXPECT_EQ(FindIn(*cache, MakeKey("other.txt", "ABC")).code, 0);
    // printf %s ABC:doc.txt | md5sum
    EXPECT_EQ(FindIn(*cache, HString("559687c0e176d63a279bb2951c64f2d5")).code, 2);
    EXPECT_EQ(FindIn(*cache, HString("ABC")).code, 0);
}

TEST_F(DLPCacheTplTest, OtherSubTypesDoNotDependOnTheFile) {
    for (int const sub_type : {2000, 2003, 2005, 1001})
        Rule(0).sub_type = sub_type, Install();
    EXPECT_FALSE(Open()->IsDependFileAttr());
}

TEST_F(DLPCacheTplTest, RuleOfAnotherTemplateDoesNotCount) {
    definitions_.rules.nodes.push_back(MakeRule("R3", 2001));
    Install();
    EXPECT_FALSE(Open()->IsDependFileAttr());
}

TEST_F(DLPCacheTplTest, FoundItemsBearTheNameOfTheFileAskedFor) {
    auto const cache = Open();
    QVKReportKeywordAttachNode node = TwoItems();
    node.items[0].file_short_name = "a.zip/b/c.txt";
    ASSERT_EQ(cache->Add(MakeKey("a.zip", "ABC"), node, MakeText("t"), "n"), 1);
    Found const found = FindIn(*cache, MakeKey("d.zip", "ABC"));
    EXPECT_EQ(found.node.items[0].file_short_name, "d.zip/b/c.txt");
    EXPECT_EQ(found.node.items[1].file_short_name, "d.zip");
    EXPECT_EQ(FindIn(*cache, HString("ABC")).node.items[0].file_short_name, "a.zip/b/c.txt");
}

TEST_F(DLPCacheTplTest, ResetFileShortNameKeepsTheInnerPart) {
    struct {
        char const* name;
        char const* stored;
        char const* expected;
    } const cases[] = {
        {"d.zip", "a.zip/b/c.txt", "d.zip/b/c.txt"},
        {"d.zip", "a.zip", "d.zip"},
        {"d.zip", "d.zip", "d.zip"},
        {"a/b", "a/b", "a/b"},
        {"d", "/c", "d/c"},
        {"d", "", "d"},
        {"", "a.zip/b", "/b"},
        {"", "a.txt", ""},
        {"a.zip", "a.zip/b", "a.zip/b"},
    };
    auto const cache = Open();
    for (auto const& c : cases) {
        QVKReportKeywordAttachNode node = TwoItems();
        node.items[1].file_short_name = c.stored;
        cache->ResetFileShortName(c.name, node);
        EXPECT_EQ(node.items[1].file_short_name, c.expected) << c.name << " " << c.stored;
        EXPECT_EQ(node.items[0].file_short_name, c.name);
    }
}

TEST_F(DLPCacheTplTest, NamesComeFromTheCurrentDefinitions) {
    auto const cache = Open();
    Tpl().common->name = "Renamed";
    definitions_.data_classes.nodes[0].common->name = "Public";
    definitions_.data_levels.nodes[0].common->name = "Low";
    Install();
    QVKReportKeywordAttachNode node = TwoItems();
    cache->FillAttachTplInfo(node);
    EXPECT_EQ(node.items[1].tpl_name, "Renamed");
    EXPECT_EQ(node.items[1].data_class_name, "Public");
    EXPECT_EQ(node.items[1].data_level_name, "Low");
}

TEST_F(DLPCacheTplTest, RulesComeFromTheSnapshot) {
    auto const cache = Open();
    Rule(0).common->name = "edited";
    Rule(0).rule_text = "edited";
    Rule(0).rule_type = 4;
    Install();
    QVKReportKeywordAttachNode node = TwoItems();
    cache->FillAttachTplInfo(node);
    EXPECT_EQ(node.items[0].rule_name, "name of R1");
    EXPECT_EQ(node.items[0].rule_text, "text of R1");
    EXPECT_EQ(node.items[0].rule_type, 1);
}

TEST_F(DLPCacheTplTest, WhatIsNotDefinedIsLeftAsItIs) {
    auto const cache = Open();
    QVKReportKeywordAttachNode node;
    node.items = {MakeItem("R9", 1)};
    node.items[0].rule_name = "kept";
    node.items[0].data_class_name = "kept";
    node.items[0].data_level_id = "kept";
    Tpl().data_class_id = "C9";
    Tpl().data_level_id = "L9";
    Install();
    cache->FillAttachTplInfo(node);
    EXPECT_EQ(node.items[0].tpl_name, "Contracts");
    EXPECT_EQ(node.items[0].rule_name, "kept");
    EXPECT_EQ(node.items[0].data_class_name, "kept");
    EXPECT_EQ(node.items[0].data_level_id, "kept");
}

TEST_F(DLPCacheTplTest, TemplateThatIsGoneLeavesItsIdAndTheRules) {
    auto const cache = Open();
    definitions_.templates.nodes.clear();
    Install();
    QVKReportKeywordAttachNode node = TwoItems();
    cache->FillAttachTplInfo(node);
    EXPECT_EQ(node.items[0].tpl_id, "T1");
    EXPECT_EQ(node.items[0].tpl_name, "");
    EXPECT_EQ(node.items[0].data_class_id, "");
    EXPECT_EQ(node.items[0].rule_name, "name of R1");
}

TEST_F(DLPCacheTplTest, CacheWithoutTemplateFillsNothing) {
    DLPCacheTpl const cache(Current(), "ABC");
    QVKReportKeywordAttachNode node = TwoItems();
    cache.FillAttachTplInfo(node);
    EXPECT_EQ(node, TwoItems());
}

TEST_F(DLPCacheTplTest, RecordWhoseTotalSizeDisagreesIsNotDecoded) {
    auto const cache = Open();
    ASSERT_EQ(Add(*cache, TwoItems()), 1);
    std::string bytes = ReadBytes(Dir() + "cache");
    ++bytes[0];
    WriteBytes(Dir() + "cache", bytes);
    EXPECT_EQ(FindIn(*cache, kMd5).code, -18);
}

TEST_F(DLPCacheTplTest, RecordWithBytesLeftOverIsNotDecoded) {
    auto const cache = Open();
    ASSERT_EQ(Add(*cache, TwoItems()), 1);
    std::string bytes = ReadBytes(Dir() + "cache");
    // The text becomes one byte shorter than what lies behind its length.
    std::string const text_length = FromHex("41 00 00 00");
    std::size_t const at = bytes.rfind(text_length);
    ASSERT_NE(at, std::string::npos);
    --bytes[at];
    WriteBytes(Dir() + "cache", bytes);
    EXPECT_EQ(FindIn(*cache, kMd5).code, -18);
}

}  // namespace
