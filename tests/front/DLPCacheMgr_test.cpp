#include "front/DLPCacheMgr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/front/FrontFixture.h"
#include "tests/support/OnAllThreads.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DLPCacheMgrTest : public FrontTest {
  protected:
    DLPCacheMgrTest() {
        DefineTpl("t1");
        DefineTpl("t2");
        DefineTpl("t3");
        Install();
    }

    void StoreEverything(std::string const& letters) {
        for (char const letter : letters) {
            StoreMatch(letter, "t1");
            StoreNoMatch(letter, "t2");
        }
    }

    // The sensitivity that a query of files with a match (m) or without one (-), one per item, comes to.
    bool SensitiveByRule(unsigned item_rule, std::string const& items, bool before = false) {
        QVKKeywordCheckParam param;
        param.item_rule = item_rule;
        for (char const kind : items)
            param.file_items.push_back(Item(kind == 'm' ? "a" : "b", Ids({"t1"})));
        QVKKeywordMatchResult result;
        result.sensitive = before;
        EXPECT_GE(Ask(param, result), 0);
        return result.sensitive;
    }
};

TEST_F(DLPCacheMgrTest, InstanceIsTheSameForEveryThread) {
    auto const seen = AskOnAllThreads(8, [] { return DLPCacheMgr::pins(); });
    EXPECT_THAT(seen, testing::Each(DLPCacheMgr::pins()));
}

TEST_F(DLPCacheMgrTest, CheckWithoutFileItemsIsAMissWithoutMatchItems) {
    QVKKeywordMatchResult result;
    EXPECT_EQ(Ask(QVKKeywordCheckParam(), result), 0);
    EXPECT_THAT(result.match_items, IsEmpty());
    EXPECT_FALSE(result.sensitive);
}

TEST_F(DLPCacheMgrTest, CheckWhoseItemsHaveNoFilesIsAFullHit) {
    EXPECT_EQ(AskCode({Item("", Ids({"t1"}))}), 2);
    EXPECT_EQ(AskCode({Item("", Ids({"t1"})), Item("", {})}), 2);
}

TEST_F(DLPCacheMgrTest, NothingStoredIsAMiss) {
    EXPECT_EQ(AskCode({Item("ab", Ids({"t1", "t2"}))}), 0);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1"})), Item("b", Ids({"t2"}))}), 0);
}

TEST_F(DLPCacheMgrTest, EveryFileAnsweredForEveryTemplateIsAFullHit) {
    StoreEverything("abc");
    EXPECT_EQ(AskCode({Item("ab", Ids({"t1", "t2"})), Item("c", Ids({"t2"}))}), 2);
}

TEST_F(DLPCacheMgrTest, OneAnswerMissingForOneFileIsAPartialHit) {
    StoreEverything("a");
    StoreMatch('b', "t1");
    EXPECT_EQ(AskCode({Item("ab", Ids({"t1", "t2"}))}), 1);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "t2"})), Item("b", Ids({"t1", "t2"}))}), 1);
    EXPECT_EQ(AskCode({Item("b", Ids({"t1", "t2"}))}), 1);
}

TEST_F(DLPCacheMgrTest, SomeFilesOfAnItemUnansweredIsAPartialHit) {
    StoreEverything("a");
    EXPECT_EQ(AskCode({Item("ab", Ids({"t1", "t2"}))}), 1);
}

TEST_F(DLPCacheMgrTest, SomeItemsWhollyUnansweredIsAPartialHit) {
    StoreEverything("a");
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "t2"})), Item("b", Ids({"t1", "t2"}))}), 1);
    EXPECT_EQ(AskCode({Item("b", Ids({"t1", "t2"})), Item("", Ids({"t1"}))}), 1);
}

TEST_F(DLPCacheMgrTest, FileWithoutTemplatesCountsAsUnanswered) {
    StoreEverything("a");
    EXPECT_EQ(AskCode({Item("a", {})}), 0);
    EXPECT_EQ(AskCode({Item("a", {}), Item("a", Ids({"t1"}))}), 1);
}

TEST_F(DLPCacheMgrTest, TemplateThatIsNotDefinedLeavesThePartialHit) {
    StoreEverything("a");
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "unknown"}))}), 1);
    EXPECT_EQ(AskCode({Item("a", Ids({"unknown"}))}), 0);
}

TEST_F(DLPCacheMgrTest, EarlyStopWithinAFileIsAPartialHit) {
    StoreEverything("a");
    QVKKeywordFileItem item = Item("a", Ids({"t1", "t2"}));
    item.lookup_flag = false;
    EXPECT_EQ(AskCode({item}), 1);
}

TEST_F(DLPCacheMgrTest, EarlyStopAfterASensitiveFileIsAPartialHit) {
    StoreEverything("ab");
    QVKKeywordFileItem item = Item("ab", Ids({"t1", "t2"}));
    item.check_every_node = false;
    EXPECT_EQ(AskCode({item}), 1);
    item.file_nodes.pop_back();
    EXPECT_EQ(AskCode({item}), 2);
}

TEST_F(DLPCacheMgrTest, ResultThatAlreadyHoldsItemsIsAPartialHit) {
    StoreEverything("a");
    QVKKeywordCheckParam param;
    param.file_items = {Item("a", Ids({"t1", "t2"}))};
    QVKKeywordMatchResult result;
    ASSERT_EQ(Ask(param, result), 2);
    EXPECT_EQ(Ask(param, result), 1);
    EXPECT_EQ(result.match_items.size(), 2U);
}

TEST_F(DLPCacheMgrTest, CheckParamIsCopiedIntoTheResultsOwn) {
    QVKKeywordCheckParam param;
    param.task_id = "task";
    param.extra = "extra";
    param.file_items = {Item("a", Ids({"t1"}))};
    QVKKeywordMatchResult result;
    auto const own = result.check_param;
    EXPECT_EQ(Ask(param, result), 0);
    EXPECT_EQ(result.check_param, own);
    EXPECT_EQ(own->task_id, HString("task"));
    EXPECT_EQ(own->extra, HString("extra"));
    EXPECT_EQ(own->file_items.at(0).tpl_ids, Ids({"t1"}));
}

TEST_F(DLPCacheMgrTest, ResultsOwnCheckParamCanBeAsked) {
    StoreEverything("a");
    QVKKeywordMatchResult result;
    result.check_param->file_items = {Item("a", Ids({"t1", "t2"}))};
    EXPECT_EQ(Ask(*result.check_param, result), 2);
}

TEST_F(DLPCacheMgrTest, ResultWithoutCheckParamFails) {
    QVKKeywordMatchResult result;
    result.check_param = nullptr;
    EXPECT_FALSE(Front().QueryTpl(result));
    EXPECT_EQ(Ask(QVKKeywordCheckParam(), result), -55);
    EXPECT_THAT(result.match_items, IsEmpty());
}

TEST_F(DLPCacheMgrTest, QueryTplAnswersTheResultsOwnCheckParam) {
    StoreEverything("a");
    QVKKeywordMatchResult result;
    result.check_param->file_items = {Item("a", Ids({"t1", "t2"}))};
    EXPECT_TRUE(Front().QueryTpl(result));
    EXPECT_THAT(result.match_items.at(0).match_nodes.at(0).matched_tpl_ids, ElementsAre(HString("t1")));
    EXPECT_THAT(result.match_items.at(0).match_nodes.at(0).unmatched_tpl_ids, ElementsAre(HString("t2")));
}

TEST_F(DLPCacheMgrTest, ItemRule0IsSensitiveWithAnySensitiveItem) {
    StoreMatch('a', "t1");
    StoreNoMatch('b', "t1");
    EXPECT_TRUE(SensitiveByRule(0, "-m"));
    EXPECT_FALSE(SensitiveByRule(0, "--"));
    EXPECT_FALSE(SensitiveByRule(0, ""));
}

TEST_F(DLPCacheMgrTest, ItemRule0NeverClearsTheFlag) {
    StoreNoMatch('b', "t1");
    EXPECT_TRUE(SensitiveByRule(0, "-", true));
    EXPECT_TRUE(SensitiveByRule(0, "", true));
}

TEST_F(DLPCacheMgrTest, ItemRule1IsSensitiveWithAllItemsAndClearsTheFlagOtherwise) {
    StoreMatch('a', "t1");
    StoreNoMatch('b', "t1");
    EXPECT_TRUE(SensitiveByRule(1, "mm"));
    EXPECT_FALSE(SensitiveByRule(1, "m-", true));
    EXPECT_FALSE(SensitiveByRule(1, "", true));
}

TEST_F(DLPCacheMgrTest, AnyOtherItemRuleLeavesTheFlag) {
    StoreMatch('a', "t1");
    EXPECT_FALSE(SensitiveByRule(2, "m"));
    EXPECT_TRUE(SensitiveByRule(4294967295U, "", true));
}

TEST_F(DLPCacheMgrTest, AddTplStoresEveryItem) {
    QVKKeywordMatchResult result;
    result.match_items.resize(2);
    result.match_items[0].match_nodes = {Scanned('a'), Scanned('b')};
    result.match_items[1].match_nodes = {Scanned('c')};
    for (auto& item : result.match_items) {
        for (auto& node : item.match_nodes)
            AddMatch(node, "t1");
    }
    EXPECT_EQ(Front().AddTpl(result), 0);
    EXPECT_EQ(AskCode({Item("abc", Ids({"t1"}))}), 2);
}

TEST_F(DLPCacheMgrTest, AddTplOfNothingIsDone) {
    EXPECT_EQ(Front().AddTpl(QVKKeywordMatchResult()), 0);
    QVKKeywordMatchResult result;
    result.match_items.resize(2);
    EXPECT_EQ(Front().AddTpl(result), 0);
}

TEST_F(DLPCacheMgrTest, AddTplStopsAtTheFirstRefusedNode) {
    QVKKeywordMatchResult result;
    result.match_items.resize(2);
    result.match_items[0].match_nodes = {Scanned('a'), Scanned('b'), Scanned('c')};
    result.match_items[1].match_nodes = {Scanned('d')};
    for (auto& item : result.match_items) {
        for (auto& node : item.match_nodes)
            AddMatch(node, "t1");
    }
    result.match_items[0].match_nodes[1].attach_nodes.clear();
    EXPECT_EQ(Front().AddTpl(result), -50);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1"}))}), 2);
    EXPECT_EQ(AskCode({Item("bcd", Ids({"t1"}))}), 0);
}

TEST_F(DLPCacheMgrTest, AddTplNeedsNoCheckParam) {
    QVKKeywordMatchResult result;
    result.check_param = nullptr;
    result.match_items.resize(1);
    result.match_items[0].match_nodes = {Scanned('a')};
    AddNoMatch(result.match_items[0].match_nodes[0], "t1");
    EXPECT_EQ(Front().AddTpl(result), 0);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1"}))}), 2);
}

// The answers of a template count one by one: taken away in turn, they lead from a full hit over partial hits to a
// miss.
TEST_F(DLPCacheMgrTest, FullHitBecomesPartialAndThenAMissAsDefinitionsChange) {
    StoreEverything("a");
    ASSERT_EQ(AskCode({Item("a", Ids({"t1", "t2"}))}), 2);
    definitions_.rules.nodes[0].rule_text = "another word";  // t1's rule
    Install();
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "t2"}))}), 1);
    definitions_.rules.nodes[1].rule_text = "another word";  // t2's rule
    Install();
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "t2"}))}), 0);
}

}  // namespace
