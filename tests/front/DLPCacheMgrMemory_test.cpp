// Every operation of the front, with each of its allocations failing in turn: its failing code, and nothing spoiled.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "front/DLPCacheVersion.h"
#include "tests/front/FrontFixture.h"
#include "tests/support/LogLines.h"
#include "tests/support/fault/EveryAllocation.h"

namespace {

using fault::Extent;
using fault::WithEveryFailure;
using testing::AnyOf;

class DLPCacheMgrMemoryTest : public FrontTest {
  protected:
    DLPCacheMgrMemoryTest() {
        DefineLevel("1", 1);
        DefineClass("red");
        for (char const* id : {"t1", "t2"})
            DefineTpl(id, "1", "red");
        Install();
        StoreMatch('a', "t1", 3);
        StoreNoMatch('a', "t2");
        param_.file_items = {Item("a", Ids({"t1", "t2"}))};
        (void)AskNode('a', Ids({"t1", "t2"}));
    }

    template <class Operation>
    static auto WithoutMemory(Operation operation) {
        AllocationFailure const failure(1, Extent::kAllFromThere);
        return operation();
    }

    // The verdict is whole, or empty when an allocation failed. Gives how many did.
    static int CountVerdictFailures(QVKKeywordMatchNode const& node, HString const& whole) {
        HString verdict;
        return WithEveryFailure(
            [&] { verdict = Front().GetSensResult(node); },
            [&](bool failed) { EXPECT_TRUE(verdict == whole || (failed && verdict.empty())) << verdict.get_str(); });
    }

    static bool IsComplete(QVKKeywordMatchResult const& result) {
        if (result.match_items.size() != 1 || result.match_items[0].match_nodes.size() != 1) return false;
        QVKKeywordMatchNode const& node = result.match_items[0].match_nodes[0];
        return node.tips->sens_result == HString("word t1(3)\n") && node.tips->position_count == 3 &&
               node.tips->text == Text("t1", 3) && node.texts == std::vector{Text("t1", 3)};
    }

    QVKKeywordCheckParam param_;
};

TEST_F(DLPCacheMgrMemoryTest, QueryFailsOrAnswersRightly) {
    QVKKeywordMatchResult result;
    int code = 0;
    int const failures = WithEveryFailure([&] { code = Ask(param_, result); },
                                          [&](bool failed) {
                                              if (failed) {
                                                  EXPECT_THAT(code, AnyOf(-55, 0, 1, 2));
                                              }
                                              if (code == 2 || !failed) {
                                                  EXPECT_EQ(code, 2);
                                                  EXPECT_TRUE(IsComplete(result));
                                              }
                                              result = QVKKeywordMatchResult();
                                          });
    EXPECT_GT(failures, 10);
}

TEST_F(DLPCacheMgrMemoryTest, QueryWithoutAnyMemoryFails) {
    QVKKeywordMatchResult result;
    EXPECT_EQ(WithoutMemory([&] { return Ask(param_, result); }), -55);
}

TEST_F(DLPCacheMgrMemoryTest, QueryTplWithoutAnyMemoryFails) {
    QVKKeywordMatchResult result;
    *result.check_param = param_;
    EXPECT_FALSE(WithoutMemory([&] { return Front().QueryTpl(result); }));
}

TEST_F(DLPCacheMgrMemoryTest, NodeAndItemQueriesWithoutAnyMemoryFail) {
    QVKKeywordFileItem const& asked = param_.file_items[0];
    QVKKeywordMatchNode node;
    QVKKeywordMatchItem item;
    EXPECT_FALSE(WithoutMemory([&] { return Front().QueryMatchNode(asked.file_nodes[0], asked.tpl_ids, true, node); }));
    EXPECT_FALSE(WithoutMemory([&] { return Front().QueryMatchItem(asked, item); }));
}

TEST_F(DLPCacheMgrMemoryTest, StoringWithoutAnyMemoryFails) {
    QVKKeywordMatchResult result;
    result.match_items.resize(1);
    result.match_items[0].match_nodes = {Scanned('b')};
    QVKKeywordMatchNode& node = result.match_items[0].match_nodes[0];
    AddMatch(node, "t1");
    EXPECT_EQ(WithoutMemory([&] { return Front().AddMatchNode(node); }), -50);
    EXPECT_EQ(WithoutMemory([&] { return Front().AddMatchItem(result.match_items[0]); }), -50);
    EXPECT_EQ(WithoutMemory([&] { return Front().AddTpl(result); }), -50);
}

TEST_F(DLPCacheMgrMemoryTest, StoringEitherKeepsTheWholeAnswerOrNone) {
    char letter = 'b';
    // Few enough contents for the alphabet: one is used per allocation that fails.
    for (long nth = 1;; nth += 3, ++letter) {
        ASSERT_LE(letter, 'z');
        QVKKeywordMatchNode node = Scanned(letter);
        AddMatch(node, "t1", 3);
        bool happened = false;
        int code = 0;
        {
            AllocationFailure const failure(nth);
            code = Front().AddMatchNode(node);
            happened = failure.Happened();
        }
        EXPECT_THAT(code, AnyOf(0, -50));
        QVKKeywordMatchNode const answer = AskNode(letter, Ids({"t1"}));
        EXPECT_EQ(answer.tips->sens_result, answer.matched_tpl_ids.empty() ? HString() : HString("word t1(3)\n"));
        EXPECT_TRUE(answer.unmatched_tpl_ids.empty());
        if (!happened) break;
    }
    EXPECT_GT(letter, 'b');
}

TEST_F(DLPCacheMgrMemoryTest, FailedQueryIsLoggedOnceMemoryIsThere) {
    LogLines log;
    QVKKeywordMatchResult result;
    int code = 0;
    {
        AllocationFailure const failure(1);  // the copy of the check param
        code = Ask(param_, result);
    }
    EXPECT_EQ(code, -55);
    EXPECT_THAT(log.TakeTexts(), testing::ElementsAre("QueryCache, Line:43, ASSERT_FALSE"));
}

TEST_F(DLPCacheMgrMemoryTest, VerdictsWithoutMemoryAreEmpty) {
    QVKKeywordMatchNode node;
    AddMatch(node, "t1", 3);
    QVKReportKeywordAttachItem& item = node.attach_nodes[0].items[0];
    item.rule_type = 1;
    item.rule_text = "a word that is longer than a short text's own space";
    EXPECT_EQ(WithoutMemory([&] { return Front().GetSensResult(node); }), HString());
    EXPECT_EQ(WithoutMemory([&] { return Front().GetSensResultByRuleContent(item); }), HString());
    item.sub_type = 2001;
    EXPECT_EQ(WithoutMemory([&] { return Front().GetSensResultByRuleAttr(item); }), HString());
    item.sub_type = 3001;
    EXPECT_EQ(WithoutMemory([&] { return Front().GetSensResultByRuleClassify(item); }), HString());
}

TEST_F(DLPCacheMgrMemoryTest, VerdictIsWholeOrEmpty) {
    QVKKeywordMatchNode node;
    for (char const* id : {"t1", "t2", "t3"})
        AddMatch(node, id, 3);
    for (auto& attach_node : node.attach_nodes) {
        attach_node.items[0].rule_type = 1;
        attach_node.items[0].rule_text = "a word of some length";
    }
    HString const line = "a word of some length(3)\n";
    HString whole;
    whole << line << line << line;
    EXPECT_GT(CountVerdictFailures(node, whole), 0);
}

// Wordings that are put together from the language table, a number and a time.
TEST_F(DLPCacheMgrMemoryTest, WordedVerdictIsWholeOrEmpty) {
    QVKKeywordMatchNode node;
    AddMatch(node, "t1", 3);
    std::vector<QVKReportKeywordAttachItem>& items = node.attach_nodes[0].items;
    items.assign(5, items[0]);
    int const sub_types[] = {1002, 2003, 2006, 2007, 2011};
    for (std::size_t i = 0; i < items.size(); ++i) {
        items[i].sub_type = sub_types[i];
        items[i].rule_type = sub_types[i] / 1000;
        items[i].match_count = 1;
    }
    items[4].rule_text = "1;2;3;4;5";
    items[4].match_text_2 = "1;2;3;4;5";
    HString const whole = Front().GetSensResult(node);
    EXPECT_EQ(std::ranges::count(whole.view(), u'\n'), 5) << whole.get_str();
    EXPECT_GT(CountVerdictFailures(node, whole), 20);
}

TEST_F(DLPCacheMgrMemoryTest, VersionCheckNeverWipesACurrentRoot) {
    TempRoot const other;
    std::filesystem::create_directories(other / "cache/kept");
    std::string const stamp = "[DLP]\nmajor=3\nbranch=2306\nminor=4\nrevise=13\nmodule=1\ncache=4\n";
    WriteBytes(other / "cache/Version.ini", stamp);
    EXPECT_GT(WithEveryFailure(CheckModuleVersion,
                               [&] {
                                   EXPECT_TRUE(Exists(other / "cache/kept"));
                                   EXPECT_EQ(ReadBytes(other / "cache/Version.ini"), stamp);
                               }),
              0);
}

}  // namespace
