// How files and file items are answered from what is stored.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "front/DLPCacheMgr.h"
#include "tests/front/FrontFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class DLPCacheMgrQueryTest : public FrontTest {
  protected:
    DLPCacheMgrQueryTest() {
        for (int const level : {0, 1, 2, 3})
            DefineLevel(std::to_string(level), level);
        DefineLevel("2b", 2);
        DefineLevel("-5", -5);
        for (char const* id : {"red", "blue"})
            DefineClass(id);
        DefineTpl("t3", "3", "red");
        DefineTpl("t2", "2", "blue");
        DefineTpl("t2b", "2b", "red");
        DefineTpl("t1", "1", "unknown");
        DefineTpl("t0", "0", "blue");
        DefineTpl("tneg", "-5");
        DefineTpl("unlevelled", "unknown", "red");
        Install();
    }

    // The tips after all of the templates matched, in this order; a template's count is its place from 1.
    QVKKeywordFileTips TipsOf(std::initializer_list<char const*> ids) {
        int count = 0;
        for (char const* id : ids)
            StoreMatch('a', id, ++count);
        return *AskNode('a', Ids(ids)).tips;
    }

    bool Sensitive(QVKKeywordFileItem const& item) { return AskItem(item).match_nodes.at(0).sensitive; }
};

TEST_F(DLPCacheMgrQueryTest, FileNodeIsCopiedAndItsPathShown) {
    QVKKeywordFileNode file = File('a');
    file.short_name = "shown.txt";
    QVKKeywordMatchNode node;
    ASSERT_TRUE(Front().QueryMatchNode(file, {}, true, node));
    EXPECT_EQ(node.file_node->file_path, HString("/data/a.txt"));
    EXPECT_EQ(node.file_node->file_md5, file.file_md5);
    EXPECT_EQ(node.file_node->short_name, HString("shown.txt"));
    EXPECT_EQ(node.tips->file_path, HString("/data/a.txt"));
}

TEST_F(DLPCacheMgrQueryTest, NodeWithoutFileNodeAndTipsGetsThem) {
    StoreMatch('a', "t2");
    QVKKeywordMatchNode node;
    node.file_node = nullptr;
    node.tips = nullptr;
    ASSERT_TRUE(Front().QueryMatchNode(File('a'), Ids({"t2"}), true, node));
    EXPECT_EQ(node.file_node->file_path, HString("/data/a.txt"));
    EXPECT_EQ(node.tips->data_level, 2);
}

TEST_F(DLPCacheMgrQueryTest, NodesOwnFileNodeCanBeAsked) {
    StoreMatch('a', "t2");
    QVKKeywordMatchNode node;
    *node.file_node = File('a');
    ASSERT_TRUE(Front().QueryMatchNode(*node.file_node, Ids({"t2"}), true, node));
    EXPECT_THAT(node.matched_tpl_ids, SizeIs(1));
    EXPECT_EQ(node.tips->file_path, HString("/data/a.txt"));
}

TEST_F(DLPCacheMgrQueryTest, MatchComesBackWithAttachNodeAndText) {
    StoreMatch('a', "t2", 3);
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t2"}));
    EXPECT_THAT(node.matched_tpl_ids, ElementsAre(HString("t2")));
    EXPECT_THAT(node.unmatched_tpl_ids, IsEmpty());
    ASSERT_THAT(node.attach_nodes, SizeIs(1));
    ASSERT_THAT(node.attach_nodes[0].items, SizeIs(1));
    EXPECT_EQ(node.attach_nodes[0].items[0].match_count, 3);
    EXPECT_EQ(node.attach_nodes[0].items[0].tpl_name, HString("template t2"));
    EXPECT_EQ(node.attach_nodes[0].items[0].rule_text, HString("word t2"));
    EXPECT_THAT(node.texts, ElementsAre(Text("t2", 3)));
}

TEST_F(DLPCacheMgrQueryTest, NoMatchComesBackAsUnmatchedId) {
    StoreNoMatch('a', "t2");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t2"}));
    EXPECT_THAT(node.matched_tpl_ids, IsEmpty());
    EXPECT_THAT(node.unmatched_tpl_ids, ElementsAre(HString("t2")));
    EXPECT_THAT(node.attach_nodes, IsEmpty());
    EXPECT_THAT(node.texts, IsEmpty());
    EXPECT_EQ(node.tips->data_level, 0);
}

TEST_F(DLPCacheMgrQueryTest, AnswersKeepTheOrderOfTheTemplateIds) {
    for (char const* id : {"t0", "t1", "t3"})
        StoreMatch('a', id);
    for (char const* id : {"t2", "t2b"})
        StoreNoMatch('a', id);
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t2b", "t3", "t0", "t2", "t1"}));
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t3", "t0", "t1"}));
    EXPECT_EQ(node.unmatched_tpl_ids, Ids({"t2b", "t2"}));
    EXPECT_THAT(node.texts, ElementsAre(Text("t3"), Text("t0"), Text("t1")));
}

TEST_F(DLPCacheMgrQueryTest, IdGivenTwiceIsAnsweredTwice) {
    StoreMatch('a', "t2");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t2", "t2"}));
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2", "t2"}));
    EXPECT_THAT(node.attach_nodes, SizeIs(2));
}

TEST_F(DLPCacheMgrQueryTest, UnknownTemplateIsSkipped) {
    StoreMatch('a', "t2");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"unknown", "", "t2"}));
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2"}));
    EXPECT_THAT(node.unmatched_tpl_ids, IsEmpty());
}

TEST_F(DLPCacheMgrQueryTest, AnswerBelongsToTheContentAndNotToThePath) {
    StoreMatch('a', "t2");
    QVKKeywordFileNode file = File('a');
    file.file_path = "/elsewhere/copy.bin";
    QVKKeywordMatchNode node;
    ASSERT_TRUE(Front().QueryMatchNode(file, Ids({"t2"}), true, node));
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2"}));
    file.file_md5 = File('b').file_md5;
    QVKKeywordMatchNode other;
    ASSERT_TRUE(Front().QueryMatchNode(file, Ids({"t2"}), true, other));
    EXPECT_THAT(other.matched_tpl_ids, IsEmpty());
}

// --- Early stop within a file

TEST_F(DLPCacheMgrQueryTest, FirstMatchBeforeAnyMissEndsTheLookUpAndIsSensitive) {
    StoreNoMatch('a', "t3");
    StoreMatch('a', "t2");
    StoreMatch('a', "t1");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t3", "t2", "t1"}), false);
    EXPECT_TRUE(node.sensitive);
    EXPECT_EQ(node.unmatched_tpl_ids, Ids({"t3"}));
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2"}));
    EXPECT_EQ(node.tips->data_level, 2);
    EXPECT_EQ(node.tips->data_class_names, HString("class blue"));
}

TEST_F(DLPCacheMgrQueryTest, AfterAMissTheLookUpRunsThroughAllTemplates) {
    StoreMatch('a', "t2");
    StoreMatch('a', "t1");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t3", "t2", "t1"}), false);
    EXPECT_FALSE(node.sensitive);
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2", "t1"}));
}

TEST_F(DLPCacheMgrQueryTest, WithTheLookUpFlagTheLookUpRunsThroughAllTemplates) {
    StoreMatch('a', "t2");
    StoreMatch('a', "t1");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t2", "t1"}), true);
    EXPECT_FALSE(node.sensitive);
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2", "t1"}));
}

TEST_F(DLPCacheMgrQueryTest, UnknownOrFailingTemplateIsNoMiss) {
    InstallFailingTpl("failing");
    StoreMatch('a', "t2");
    StoreMatch('a', "t1");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"unknown", "failing", "t2", "t1"}), false);
    EXPECT_TRUE(node.sensitive);
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t2"}));
}

TEST_F(DLPCacheMgrQueryTest, FailingTemplateStaysUnanswered) {
    InstallFailingTpl("failing");
    StoreMatch('a', "t2");
    EXPECT_EQ(AskCode({Item("a", Ids({"failing", "t2"}))}), 1);
    EXPECT_EQ(AskCode({Item("a", Ids({"failing"}))}), 0);
}

TEST_F(DLPCacheMgrQueryTest, TemplateWithoutLevelEndsTheLookUpToo) {
    StoreMatch('a', "unlevelled");
    StoreMatch('a', "t1");
    QVKKeywordMatchNode const node = AskNode('a', Ids({"unlevelled", "t1"}), false);
    EXPECT_TRUE(node.sensitive);
    EXPECT_EQ(node.matched_tpl_ids, Ids({"unlevelled"}));
}

// --- Tips

TEST_F(DLPCacheMgrQueryTest, TipsShowTheOneMatchedTemplate) {
    StoreMatch('a', "t2", 3);
    QVKKeywordFileTips const tips = *AskNode('a', Ids({"t2"})).tips;
    EXPECT_EQ(tips.data_class_names, HString("class blue"));
    EXPECT_EQ(tips.data_level, 2);
    EXPECT_EQ(tips.data_level_name, HString("level 2"));
    EXPECT_EQ(tips.data_level_id, HString("2"));
    EXPECT_EQ(tips.sens_result, HString("word t2(3)\n"));
    EXPECT_EQ(tips.stored_name, HString("stored a"));
    EXPECT_EQ(tips.text, Text("t2", 3));
    EXPECT_EQ(tips.position_count, 3U);
}

TEST_F(DLPCacheMgrQueryTest, Level2After3IsKeptWithTheVerdictUpToIt) {
    QVKKeywordFileTips const tips = TipsOf({"t3", "t2"});
    EXPECT_EQ(tips.data_level, 2);
    EXPECT_EQ(tips.data_level_id, HString("2"));
    EXPECT_EQ(tips.sens_result, HString("word t3(1)\nword t2(2)\n"));
    EXPECT_EQ(tips.text.tpl_id, HString("t2"));
    EXPECT_EQ(tips.position_count, 2U);
    EXPECT_EQ(tips.data_class_names, HString("class blue|class red"));
}

TEST_F(DLPCacheMgrQueryTest, Level2Before3IsKeptWithItsVerdictAlone) {
    QVKKeywordFileTips const tips = TipsOf({"t2", "t3"});
    EXPECT_EQ(tips.data_level, 2);
    EXPECT_EQ(tips.sens_result, HString("word t2(1)\n"));
    EXPECT_EQ(tips.text.tpl_id, HString("t2"));
    EXPECT_EQ(tips.data_class_names, HString("class blue|class red"));
}

TEST_F(DLPCacheMgrQueryTest, OfEqualLevelsTheFirstStays) {
    QVKKeywordFileTips const tips = TipsOf({"t2", "t2b"});
    EXPECT_EQ(tips.data_level_id, HString("2"));
    EXPECT_EQ(tips.sens_result, HString("word t2(1)\n"));
}

TEST_F(DLPCacheMgrQueryTest, Level0CountsAsNone) {
    QVKKeywordFileTips const tips = TipsOf({"t0", "t3"});
    EXPECT_EQ(tips.data_level, 3);
    EXPECT_EQ(tips.data_level_id, HString("3"));
    EXPECT_EQ(tips.sens_result, HString("word t0(1)\nword t3(2)\n"));
}

TEST_F(DLPCacheMgrQueryTest, Level0ReplacesAnyHigherOne) {
    QVKKeywordFileTips const tips = TipsOf({"t3", "t0"});
    EXPECT_EQ(tips.data_level, 0);
    EXPECT_EQ(tips.data_level_id, HString("0"));
}

TEST_F(DLPCacheMgrQueryTest, NegativeLevelIsTheLowest) {
    QVKKeywordFileTips const tips = TipsOf({"tneg", "t1"});
    EXPECT_EQ(tips.data_level, -5);
    EXPECT_EQ(tips.data_level_id, HString("-5"));
}

TEST_F(DLPCacheMgrQueryTest, LevelThatTheTipsAlreadyHoldIsKept) {
    StoreMatch('a', "t2");
    QVKKeywordMatchNode node;
    node.tips->data_level = 1;
    node.tips->sens_result = "before";
    ASSERT_TRUE(Front().QueryMatchNode(File('a'), Ids({"t2"}), true, node));
    EXPECT_EQ(node.tips->data_level, 1);
    EXPECT_EQ(node.tips->sens_result, HString("before"));
    EXPECT_EQ(node.tips->data_class_names, HString("class blue"));
}

TEST_F(DLPCacheMgrQueryTest, VerdictCoversWhatTheNodeAlreadyHeld) {
    StoreMatch('a', "t2");
    QVKKeywordMatchNode node;
    AddMatch(node, "t3", 9);
    node.attach_nodes[0].items[0].rule_type = 1;
    node.attach_nodes[0].items[0].rule_text = "held";
    ASSERT_TRUE(Front().QueryMatchNode(File('a'), Ids({"t2"}), true, node));
    EXPECT_EQ(node.tips->sens_result, HString("held(9)\nword t2(1)\n"));
    EXPECT_EQ(node.tips->text, Text("t2"));
}

TEST_F(DLPCacheMgrQueryTest, TemplateWithoutLevelIsNotShownNorItsClass) {
    QVKKeywordFileTips const tips = TipsOf({"unlevelled"});
    EXPECT_EQ(tips.data_level, 0);
    EXPECT_EQ(tips.data_class_names, HString());
    EXPECT_EQ(tips.sens_result, HString());
    EXPECT_EQ(tips.text, QVKKeywordText());
}

TEST_F(DLPCacheMgrQueryTest, UnknownClassIsLeftOut) {
    EXPECT_EQ(TipsOf({"t1", "t2"}).data_class_names, HString("class blue"));
}

TEST_F(DLPCacheMgrQueryTest, ClassOfSeveralTemplatesIsNamedOnce) {
    EXPECT_EQ(TipsOf({"t3", "t2b", "t2", "t0"}).data_class_names, HString("class blue|class red"));
}

TEST_F(DLPCacheMgrQueryTest, ClassNamesOfBeforeAreReplaced) {
    QVKKeywordMatchNode node;
    node.tips->data_class_names = "before";
    ASSERT_TRUE(Front().QueryMatchNode(File('a'), Ids({"t2"}), true, node));
    EXPECT_EQ(node.tips->data_class_names, HString());
}

TEST_F(DLPCacheMgrQueryTest, NamesAreThoseOfTheDefinitionsNow) {
    StoreMatch('a', "t2");
    definitions_.data_levels.nodes[2].common = std::make_shared<QVKCommon>(QVKCommon{0, "2", "renamed level"});
    definitions_.data_classes.nodes[1].common = std::make_shared<QVKCommon>(QVKCommon{0, "blue", "renamed class"});
    Install();
    QVKKeywordFileTips const tips = *AskNode('a', Ids({"t2"})).tips;
    EXPECT_EQ(tips.data_level_name, HString("renamed level"));
    EXPECT_EQ(tips.data_class_names, HString("renamed class"));
}

// --- File items

TEST_F(DLPCacheMgrQueryTest, ItemWithoutFilesHasNoNodesAndIsNotSensitive) {
    QVKKeywordMatchItem item;
    item.sensitive = true;
    ASSERT_TRUE(Front().QueryMatchItem(Item("", Ids({"t2"})), item));
    EXPECT_THAT(item.match_nodes, IsEmpty());
    EXPECT_FALSE(item.sensitive);
}

TEST_F(DLPCacheMgrQueryTest, ItemHasOneNodePerFileInOrder) {
    QVKKeywordMatchItem const item = AskItem(Item("bac", Ids({"t2"})));
    ASSERT_THAT(item.match_nodes, SizeIs(3));
    EXPECT_EQ(item.match_nodes[0].file_node->file_path, HString("/data/b.txt"));
    EXPECT_EQ(item.match_nodes[1].file_node->file_path, HString("/data/a.txt"));
    EXPECT_EQ(item.match_nodes[2].file_node->file_path, HString("/data/c.txt"));
}

TEST_F(DLPCacheMgrQueryTest, ThresholdOfMatchedTemplatesIsReachedOrNot) {
    StoreMatch('a', "t1");
    StoreMatch('a', "t2");
    StoreNoMatch('a', "t3");
    QVKKeywordFileItem item = Item("a", Ids({"t1", "t2", "t3"}));
    item.threshold = 2;
    EXPECT_TRUE(Sensitive(item));
    item.threshold = 3;
    EXPECT_FALSE(Sensitive(item));
}

TEST_F(DLPCacheMgrQueryTest, ThresholdOfUnmatchedTemplatesIsReachedOrNot) {
    StoreMatch('a', "t1");
    StoreMatch('a', "t2");
    StoreNoMatch('a', "t3");
    QVKKeywordFileItem item = Item("a", Ids({"t1", "t2", "t3"}));
    item.count_matched = false;
    item.threshold = 1;
    EXPECT_TRUE(Sensitive(item));
    item.threshold = 2;
    EXPECT_FALSE(Sensitive(item));
}

TEST_F(DLPCacheMgrQueryTest, Threshold0MakesAnUnansweredFileSensitive) {
    QVKKeywordFileItem item = Item("a", Ids({"t1", "t2"}));
    item.threshold = 0;
    QVKKeywordMatchItem const answer = AskItem(item);
    EXPECT_THAT(answer.match_nodes.at(0).matched_tpl_ids, IsEmpty());
    EXPECT_THAT(answer.match_nodes.at(0).unmatched_tpl_ids, IsEmpty());
    EXPECT_TRUE(answer.match_nodes[0].sensitive);
    EXPECT_TRUE(answer.sensitive);
}

TEST_F(DLPCacheMgrQueryTest, NegativeThresholdIsNeverReached) {
    StoreMatch('a', "t1");
    StoreNoMatch('a', "t2");
    QVKKeywordFileItem item = Item("a", Ids({"t1", "t2"}));
    for (int const threshold : {-1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        item.threshold = threshold;
        item.count_matched = true;
        EXPECT_FALSE(Sensitive(item)) << threshold;
        item.count_matched = false;
        EXPECT_FALSE(Sensitive(item)) << threshold;
    }
}

TEST_F(DLPCacheMgrQueryTest, NegativeThresholdLeavesAnEarlyStopSensitive) {
    StoreMatch('a', "t1");
    QVKKeywordFileItem item = Item("a", Ids({"t1"}));
    item.threshold = -1;
    item.lookup_flag = false;
    EXPECT_TRUE(Sensitive(item));
}

TEST_F(DLPCacheMgrQueryTest, ItemIsSensitiveWithAnySensitiveFile) {
    StoreNoMatch('a', "t1");
    StoreMatch('b', "t1");
    StoreNoMatch('c', "t1");
    QVKKeywordMatchItem const item = AskItem(Item("abc", Ids({"t1"})));
    EXPECT_FALSE(item.match_nodes.at(0).sensitive);
    EXPECT_TRUE(item.match_nodes.at(1).sensitive);
    EXPECT_FALSE(item.match_nodes.at(2).sensitive);
    EXPECT_TRUE(item.sensitive);
    EXPECT_FALSE(AskItem(Item("ac", Ids({"t1"}))).sensitive);
}

TEST_F(DLPCacheMgrQueryTest, WithoutCheckEveryNodeTheFirstSensitiveFileEndsTheItem) {
    StoreNoMatch('a', "t1");
    StoreMatch('b', "t1");
    StoreNoMatch('c', "t1");
    QVKKeywordFileItem item = Item("abc", Ids({"t1"}));
    item.check_every_node = false;
    QVKKeywordMatchItem const answer = AskItem(item);
    EXPECT_THAT(answer.match_nodes, SizeIs(2));
    EXPECT_TRUE(answer.sensitive);
}

TEST_F(DLPCacheMgrQueryTest, WithoutCheckEveryNodeUnsensitiveFilesAreAllLookedAt) {
    StoreNoMatch('a', "t1");
    QVKKeywordFileItem item = Item("abc", Ids({"t1"}));
    item.check_every_node = false;
    EXPECT_THAT(AskItem(item).match_nodes, SizeIs(3));
}

}  // namespace
