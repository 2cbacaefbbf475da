// How scanned results are stored.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "front/DLPCacheMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/front/FrontFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DLPCacheMgrStoreTest : public FrontTest {
  protected:
    DLPCacheMgrStoreTest() {
        DefineLevel("1", 1);
        for (char const* id : {"t1", "t2", "t3"})
            DefineTpl(id, "1");
        DefineNameDependentTpl("by name");
        Install();
    }

    // What a template's own cache answers.
    static int Find(HString const& tpl_id, char letter, QVKKeywordText& text, HString& stored_name) {
        auto const* tpl = KwDefineMgr::pins()->get_tpl_by_id(tpl_id);
        auto const* cache = DLPCacheTplMgr::pins()->GetCache(*tpl, KwDefineMgr::pins()->get_md5_by_tpl(*tpl));
        QVKReportKeywordAttachNode node;
        return cache->Find(File(letter).file_md5, node, text, stored_name);
    }
    static int FindCode(HString const& tpl_id, char letter) {
        QVKKeywordText text;
        HString name;
        return Find(tpl_id, letter, text, name);
    }
    static QVKKeywordText StoredText(HString const& tpl_id, char letter) {
        QVKKeywordText text;
        HString name;
        EXPECT_EQ(Find(tpl_id, letter, text, name), 2);
        return text;
    }
    static QVKKeywordMatchNode Full(char letter) {
        QVKKeywordMatchNode node = Scanned(letter);
        AddMatch(node, "t1", 2);
        AddMatch(node, "t2", 3);
        AddNoMatch(node, "t3");
        return node;
    }
};

TEST_F(DLPCacheMgrStoreTest, MatchesAreStoredWithAttachNodeTextAndName) {
    ASSERT_EQ(Front().AddMatchNode(Full('a')), 0);
    QVKKeywordMatchNode const node = AskNode('a', Ids({"t1", "t2"}));
    EXPECT_EQ(node.matched_tpl_ids, Ids({"t1", "t2"}));
    EXPECT_EQ(node.attach_nodes.at(0).items.at(0).match_count, 2);
    EXPECT_EQ(node.attach_nodes.at(1).items.at(0).match_count, 3);
    EXPECT_THAT(node.texts, ElementsAre(Text("t1", 2), Text("t2", 3)));
    EXPECT_EQ(node.tips->stored_name, HString("stored a"));
}

TEST_F(DLPCacheMgrStoreTest, UnmatchedTemplateIsStoredEmptySoThatFindAnswers1) {
    ASSERT_EQ(Front().AddMatchNode(Full('a')), 0);
    EXPECT_EQ(FindCode("t3", 'a'), 1);
    EXPECT_EQ(FindCode("t3", 'b'), 0);
}

TEST_F(DLPCacheMgrStoreTest, ThreeMatchedIdsWithTwoAttachNodesAreRefusedAndNothingIsStored) {
    QVKKeywordMatchNode node = Full('a');
    node.matched_tpl_ids.push_back("t3");
    EXPECT_EQ(Front().AddMatchNode(node), -50);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "t2", "t3"}))}), 0);
}

TEST_F(DLPCacheMgrStoreTest, SurplusAttachNodeIsRefused) {
    QVKKeywordMatchNode node = Scanned('a');
    node.attach_nodes.push_back(Attach("t1"));
    EXPECT_EQ(Front().AddMatchNode(node), -50);
}

TEST_F(DLPCacheMgrStoreTest, EmptyNodeIsDone) {
    EXPECT_EQ(Front().AddMatchNode(QVKKeywordMatchNode()), 0);
}

TEST_F(DLPCacheMgrStoreTest, TextIsFoundByItsTemplateIdWhateverItsPlace) {
    QVKKeywordMatchNode node = Full('a');
    std::swap(node.texts[0], node.texts[1]);
    node.texts.insert(node.texts.begin(), Text("t9"));
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(StoredText("t1", 'a'), Text("t1", 2));
    EXPECT_EQ(StoredText("t2", 'a'), Text("t2", 3));
}

TEST_F(DLPCacheMgrStoreTest, OfTwoTextsOfATemplateTheFirstIsTaken) {
    QVKKeywordMatchNode node = Scanned('a');
    AddMatch(node, "t1", 2);
    node.texts = {Text("t2", 1), Text("t1", 4), Text("t1", 2)};
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(StoredText("t1", 'a'), Text("t1", 4));
}

TEST_F(DLPCacheMgrStoreTest, MatchWithoutATextIsStoredWithADefaultText) {
    QVKKeywordMatchNode node = Scanned('a');
    AddMatch(node, "t1");
    node.texts.clear();
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(StoredText("t1", 'a'), QVKKeywordText());
}

TEST_F(DLPCacheMgrStoreTest, MatchWithoutRulesIsStoredAsNoMatch) {
    QVKKeywordMatchNode node = Scanned('a');
    AddMatch(node, "t1");
    node.attach_nodes[0].items.clear();
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(FindCode("t1", 'a'), 1);
}

TEST_F(DLPCacheMgrStoreTest, UnknownTemplatesAreSkipped) {
    QVKKeywordMatchNode node = Scanned('a');
    AddMatch(node, "unknown");
    AddMatch(node, "t1", 5);
    AddNoMatch(node, "unknown too");
    AddNoMatch(node, "t2");
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(StoredText("t1", 'a'), Text("t1", 5));
    EXPECT_EQ(FindCode("t2", 'a'), 1);
}

TEST_F(DLPCacheMgrStoreTest, RefusedAnswerIsLeftOutAndStoringGoesOn) {
    InstallFailingTpl("failing");
    QVKKeywordMatchNode node = Scanned('a');
    for (char const* id : {"failing", "t1"})
        AddMatch(node, id);
    for (char const* id : {"failing", "t2"})
        AddNoMatch(node, id);
    EXPECT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(FindCode("t1", 'a'), 2);
    EXPECT_EQ(FindCode("t2", 'a'), 1);
}

TEST_F(DLPCacheMgrStoreTest, FingerprintAnswerIsRefusedAndStoringGoesOn) {
    QVKKeywordMatchNode node = Scanned('a');
    AddMatch(node, "t1");
    AddMatch(node, "t2");
    node.attach_nodes[0].items[0].sub_type = 2005;
    EXPECT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(FindCode("t1", 'a'), 0);
    EXPECT_EQ(FindCode("t2", 'a'), 2);
}

TEST_F(DLPCacheMgrStoreTest, NodeWithoutFileNodeIsStoredUnderTheEmptyMd5) {
    QVKKeywordMatchNode node = Full('a');
    node.file_node = nullptr;
    EXPECT_EQ(Front().AddMatchNode(node), 0);
    QVKKeywordMatchNode answer;
    ASSERT_TRUE(Front().QueryMatchNode(QVKKeywordFileNode(), Ids({"t1"}), true, answer));
    EXPECT_EQ(answer.matched_tpl_ids, Ids({"t1"}));
}

TEST_F(DLPCacheMgrStoreTest, NodeWithoutTipsIsStoredWithoutAName) {
    QVKKeywordMatchNode node = Full('a');
    node.tips = nullptr;
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(AskNode('a', Ids({"t1"})).tips->stored_name, HString());
}

TEST_F(DLPCacheMgrStoreTest, NameDependentTemplateAnswersPerShortName) {
    StoreMatch('a', "by name");
    EXPECT_EQ(AskNode('a', Ids({"by name"})).matched_tpl_ids, Ids({"by name"}));
    QVKKeywordFileNode other = File('a');
    other.file_path = "/data/other.txt";
    QVKKeywordMatchNode node;
    ASSERT_TRUE(Front().QueryMatchNode(other, Ids({"by name"}), true, node));
    EXPECT_THAT(node.matched_tpl_ids, IsEmpty());
}

TEST_F(DLPCacheMgrStoreTest, ShortNameStandsForThePathWhenGiven) {
    QVKKeywordMatchNode node = Scanned('a');
    node.file_node->file_path = "/tmp/unpacked-17";
    node.file_node->short_name = "A.TXT";
    AddMatch(node, "by name");
    ASSERT_EQ(Front().AddMatchNode(node), 0);
    EXPECT_EQ(AskNode('a', Ids({"by name"})).matched_tpl_ids, Ids({"by name"}));
}

TEST_F(DLPCacheMgrStoreTest, ItemStopsAtItsFirstRefusedNode) {
    QVKKeywordMatchItem item;
    item.match_nodes = {Full('a'), Full('b'), Full('c')};
    item.match_nodes[1].attach_nodes.pop_back();
    EXPECT_EQ(Front().AddMatchItem(item), -50);
    EXPECT_EQ(FindCode("t1", 'a'), 2);
    EXPECT_EQ(FindCode("t1", 'b'), 0);
    EXPECT_EQ(FindCode("t1", 'c'), 0);
}

TEST_F(DLPCacheMgrStoreTest, ItemOfSoundNodesIsStoredWhole) {
    QVKKeywordMatchItem item;
    EXPECT_EQ(Front().AddMatchItem(item), 0);
    item.match_nodes = {Full('a'), Full('b')};
    EXPECT_EQ(Front().AddMatchItem(item), 0);
    EXPECT_EQ(AskCode({Item("ab", Ids({"t1", "t2", "t3"}))}), 2);
}

}  // namespace
