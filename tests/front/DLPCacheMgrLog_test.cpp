// The lines that the front writes, word by word.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "tests/front/FrontFixture.h"
#include "tests/support/LogLines.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kMd5[] = "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";

class DLPCacheMgrLogTest : public FrontTest {
  protected:
    DLPCacheMgrLogTest() {
        DefineLevel("1", 1);
        for (char const* id : {"t1", "t2", "t3"})
            DefineTpl(id, "1");
        InstallFailingTpl("failing");
        StoreMatch('a', "t1");
        StoreNoMatch('a', "t2");
        (void)AskNode('f', Ids({"t1", "t2", "t3", "failing"}));  // opens the caches
    }

    // The front's own lines as "level text".
    static std::vector<std::string> Front(LogLines& log) {
        std::vector<std::string> lines;
        for (auto const& line : log.Take()) {
            if (line.source == "../DLPCacheMgr.cpp") lines.push_back(std::to_string(line.level) + " " + line.text);
        }
        return lines;
    }
    static std::string Found(char const* tpl_id, char const* code) {
        return std::string("3 file md5: ") + kMd5 + ", tpl id: " + tpl_id + ", find cache success. ret: " + code;
    }
};

TEST_F(DLPCacheMgrLogTest, EveryAnswerIsLoggedWithItsCode) {
    LogLines log;
    (void)AskNode('a', Ids({"t1", "t2", "t3"}));
    EXPECT_THAT(Front(log), ElementsAre(Found("t1", "2"), Found("t2", "1"), Found("t3", "0")));
}

TEST_F(DLPCacheMgrLogTest, MatchThatEndsTheLookUpIsNotLogged) {
    LogLines log;
    (void)AskNode('a', Ids({"t2", "t1", "t3"}), false);
    EXPECT_THAT(Front(log), ElementsAre(Found("t2", "1")));
}

TEST_F(DLPCacheMgrLogTest, MatchAfterAMissIsLogged) {
    LogLines log;
    (void)AskNode('a', Ids({"t3", "t1"}), false);
    EXPECT_THAT(Front(log), ElementsAre(Found("t3", "0"), Found("t1", "2")));
}

TEST_F(DLPCacheMgrLogTest, FailingTemplateIsLoggedAsAnError) {
    LogLines log;
    (void)AskNode('a', Ids({"failing", "t2"}));
    EXPECT_THAT(Front(log),
                ElementsAre(std::string("1 file md5: ") + kMd5 + ", tpl id: failing, find cache failed. ret: -12",
                            Found("t2", "1")));
}

TEST_F(DLPCacheMgrLogTest, UnknownTemplateIsSkippedSilently) {
    LogLines log;
    (void)AskNode('a', Ids({"unknown"}));
    QVKKeywordMatchNode node = Scanned('b');
    AddMatch(node, "unknown");
    AddNoMatch(node, "unknown");
    EXPECT_EQ(DLPCacheMgr::pins()->AddMatchNode(node), 0);
    EXPECT_THAT(log.Take(), IsEmpty());
}

TEST_F(DLPCacheMgrLogTest, StoringLogsNothingOfTheFrontsOwn) {
    LogLines log;
    StoreMatch('b', "t1");
    StoreNoMatch('b', "t2");
    EXPECT_THAT(Front(log), IsEmpty());
}

TEST_F(DLPCacheMgrLogTest, RefusedAnswersAreLoggedAsErrors) {
    QVKKeywordMatchNode node = Scanned('a');
    AddMatch(node, "failing");
    AddNoMatch(node, "failing");
    LogLines log;
    EXPECT_EQ(DLPCacheMgr::pins()->AddMatchNode(node), 0);
    std::string const line = std::string("1 file md5: ") + kMd5 + ", tpl id: failing, add cache failed. ret: -12";
    EXPECT_THAT(Front(log), ElementsAre(line, line));
}

TEST_F(DLPCacheMgrLogTest, AttachNodesThatDoNotFitAreLoggedWithBothCounts) {
    QVKKeywordMatchNode node = Scanned('a');
    for (char const* id : {"t1", "t2", "t3"})
        AddMatch(node, id);
    node.attach_nodes.pop_back();
    LogLines log;
    EXPECT_EQ(DLPCacheMgr::pins()->AddMatchNode(node), -50);
    EXPECT_THAT(Front(log), ElementsAre("1 Tpl size:3,Attach size:2"));
}

TEST_F(DLPCacheMgrLogTest, ResultWithoutCheckParamIsLogged) {
    QVKKeywordMatchResult result;
    result.check_param = nullptr;
    LogLines log;
    EXPECT_EQ(Ask(QVKKeywordCheckParam(), result), -55);
    EXPECT_THAT(Front(log), ElementsAre("1 QueryCache, Line:41, ASSERT_NULL"));
}

TEST_F(DLPCacheMgrLogTest, NothingIsLoggedWhileLoggingIsOff) {
    (void)AskNode('a', Ids({"t1", "failing", "unknown"}));
    EXPECT_FALSE(Exists(root_ / "log"));
}

}  // namespace
