// How scanned results are stored with their task: what is recorded, what is refused, what is logged.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>
#include <string>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "tests/front/FrontFixture.h"
#include "tests/support/LogLines.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Ge;
using testing::IsEmpty;
using testing::Le;

constexpr char kJob[] = "job";
constexpr char kOfJob[] = "task id: job, kind: 0, files: 1, path: /data/a.txt, md5: aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa";

class DLPCacheMgrTaskTest : public FrontTest {
  protected:
    DLPCacheMgrTaskTest() {
        DefineLevel("1", 1);
        for (char const* id : {"t1", "t2", "t3"})
            DefineTpl(id, "1");
        Install();
        AddTask(kJob);
    }

    static void AddTask(char const* id) {
        auto* const task = new ScanTask;  // the registry's as long as the process lives
        task->id = id;
        task->start_time = 1700000000;
        task->policy->audit_node->tpl_ids = Ids({"t1", "t2", "t3"});
        DLPCacheTaskMgr::pins()->AddTask(task);
    }

    // What a scan of one file gave: t1 matched twice, t2 three times, t3 not.
    static QVKKeywordMatchResult Result(char letter) {
        QVKKeywordMatchResult result;
        result.check_param->task_id = kJob;
        result.check_param->extra = "carried";
        result.check_param->file_items = {Item(std::string(1, letter), Ids({"t1", "t2", "t3"}))};
        result.sensitive = true;
        QVKKeywordMatchItem& item = result.match_items.emplace_back();
        item.sensitive = true;
        item.match_nodes = {Scanned(letter)};
        AddMatch(item.match_nodes[0], "t1", 2);
        AddMatch(item.match_nodes[0], "t2", 3);
        AddNoMatch(item.match_nodes[0], "t3");
        for (auto& attach_node : item.match_nodes[0].attach_nodes) {
            attach_node.items[0].rule_type = 1;
            attach_node.items[0].rule_text = "word";
        }
        return result;
    }
    static QVKKeywordMatchNode& NodeOf(QVKKeywordMatchResult& result) { return result.match_items[0].match_nodes[0]; }

    static int FindCode(int sn, char const* task_id = kJob) {
        SensFile file;
        return DLPCacheTaskMgr::pins()->GetCache(task_id)->Find(sn, file);
    }
    static SensFile Finding(int sn) {
        SensFile file;
        EXPECT_EQ(DLPCacheTaskMgr::pins()->GetCache(kJob)->Find(sn, file), 2);
        return file;
    }
    static bool IsNothingStored() { return FindCode(1) == 0 && AskCode({Item("a", Ids({"t1", "t2", "t3"}))}) == 0; }
    static bool IsAnswered() { return AskCode({Item("a", Ids({"t1", "t2", "t3"}))}) == 2; }
};

TEST_F(DLPCacheMgrTaskTest, CancelledResultIsNeverStored) {
    QVKKeywordMatchResult result = Result('a');
    result.status = 30002;
    EXPECT_EQ(Front().AddCache(result), 0);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, CancellationIsLookedAtBeforeAnythingElse) {
    QVKKeywordMatchResult result;
    result.status = 30002;
    EXPECT_EQ(Front().AddCache(result), 0);
    result.check_param = nullptr;
    EXPECT_EQ(Front().AddCache(result), 0);
}

TEST_F(DLPCacheMgrTaskTest, ResultOfAnotherStatusIsStored) {
    QVKKeywordMatchResult result = Result('a');
    result.status = 30001;
    EXPECT_EQ(Front().AddCache(result), 0);
    EXPECT_TRUE(IsAnswered());
}

TEST_F(DLPCacheMgrTaskTest, ResultWithoutCheckParamIsRefused) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param = nullptr;
    EXPECT_EQ(Front().AddCache(result), -50);
    EXPECT_EQ(Front().AddTask(result), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, EmptyTaskIdIsRefused) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->task_id.clear();
    EXPECT_EQ(Front().AddCache(result), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, SensitiveResultIsRecordedAndAnswered) {
    EXPECT_EQ(Front().AddCache(Result('a')), 0);
    EXPECT_EQ(Finding(1).file_path, HString("/data/a.txt"));
    EXPECT_TRUE(IsAnswered());
}

TEST_F(DLPCacheMgrTaskTest, ResultThatIsNotSensitiveGoesToTheTemplatesOnly) {
    QVKKeywordMatchResult result = Result('a');
    result.sensitive = false;
    EXPECT_EQ(Front().AddCache(result), 0);
    EXPECT_EQ(FindCode(1), 0);
    EXPECT_TRUE(IsAnswered());
}

TEST_F(DLPCacheMgrTaskTest, ResultOfAnotherTaskKindGoesToTheTemplatesOnly) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->task_kind = 1;
    result.check_param->task_id = "nobody's";
    EXPECT_EQ(Front().AddCache(result), 0);
    EXPECT_EQ(FindCode(1), 0);
    EXPECT_TRUE(IsAnswered());
}

TEST_F(DLPCacheMgrTaskTest, UnknownTaskHasNoCache) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->task_id = "unknown";
    EXPECT_EQ(Front().AddTask(result), -51);
}

TEST_F(DLPCacheMgrTaskTest, FailingTaskStoreStopsBeforeTheTemplatesAreTouched) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->task_id = "unknown";
    EXPECT_EQ(Front().AddCache(result), -51);
    result.check_param->task_id = kJob;
    NodeOf(result).file_node->file_path.clear();
    EXPECT_EQ(Front().AddCache(result), -15);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, TwoFileItemsAreRefusedAndNothingIsStored) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->file_items.push_back(Item("b", Ids({"t1"})));
    result.match_items.push_back(result.match_items[0]);
    EXPECT_EQ(Front().AddCache(result), -50);
    result.match_items.pop_back();
    EXPECT_EQ(Front().AddCache(result), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, ItemThatDoesNotCountMatchedTemplatesIsRefused) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->file_items[0].count_matched = false;
    EXPECT_EQ(Front().AddCache(result), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, NumberOfMatchItemsOtherThanOneIsRefused) {
    QVKKeywordMatchResult result = Result('a');
    result.match_items.push_back(result.match_items[0]);
    EXPECT_EQ(Front().AddTask(result), -50);
    result.match_items.clear();
    EXPECT_EQ(Front().AddTask(result), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, NumberOfMatchNodesOtherThanOneIsRefused) {
    QVKKeywordMatchResult result = Result('a');
    auto& nodes = result.match_items[0].match_nodes;
    nodes.push_back(nodes[0]);
    EXPECT_EQ(Front().AddTask(result), -50);
    nodes.clear();
    EXPECT_EQ(Front().AddTask(result), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, AttachNodesThatDoNotFitTheMatchedIdsAreRefused) {
    QVKKeywordMatchResult fewer = Result('a');
    NodeOf(fewer).attach_nodes.pop_back();
    EXPECT_EQ(Front().AddTask(fewer), -50);
    QVKKeywordMatchResult more = Result('a');
    NodeOf(more).attach_nodes.push_back(Attach("t3"));
    EXPECT_EQ(Front().AddTask(more), -50);
    EXPECT_TRUE(IsNothingStored());
}

TEST_F(DLPCacheMgrTaskTest, FailingTemplateStoreIsReported) {
    QVKKeywordMatchResult result = Result('a');
    result.sensitive = false;
    NodeOf(result).attach_nodes.pop_back();
    EXPECT_EQ(Front().AddCache(result), -50);
}

TEST_F(DLPCacheMgrTaskTest, FindingHoldsWhatTheScanFound) {
    ASSERT_EQ(Front().AddTask(Result('a')), 0);
    SensFile const file = Finding(1);
    EXPECT_EQ(file.sn, 1);
    EXPECT_EQ(file.task_id, HString(kJob));
    EXPECT_EQ(file.file_path, HString("/data/a.txt"));
    EXPECT_EQ(file.file_md5, HString("aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"));
    EXPECT_EQ(file.tpl_ids, Ids({"t1", "t2"}));
    EXPECT_EQ(file.extra_1, HString("word(2)\nword(3)\n"));
    EXPECT_EQ(file.extra_2, HString("carried"));
}

TEST_F(DLPCacheMgrTaskTest, FindingHoldsTheFilesLengthTimesAndNow) {
    std::string const path = root_ / "found.txt";
    long long const before = ::time(nullptr);
    WriteBytes(path, "0123456789");
    timespec const times[] = {{1, 0}, {1500000000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    QVKKeywordMatchResult result = Result('a');
    NodeOf(result).file_node->file_path = HString(path);
    ASSERT_EQ(Front().AddTask(result), 0);
    auto const attrs = Finding(1).file_attrs;
    EXPECT_EQ(attrs[0], 10);
    EXPECT_THAT(attrs[1], AllOf(Ge(before - 1), Le(::time(nullptr))));  // a file system's clock may lag a little
    EXPECT_EQ(attrs[2], 1500000000);
    EXPECT_THAT(attrs[3], AllOf(Ge(before), Le(::time(nullptr))));
}

TEST_F(DLPCacheMgrTaskTest, FileThatIsGoneIsRecordedWithoutLengthAndTimes) {
    ASSERT_EQ(Front().AddTask(Result('a')), 0);
    auto const attrs = Finding(1).file_attrs;
    EXPECT_THAT(std::vector(attrs.begin(), attrs.begin() + 3), ElementsAre(-1, 0, 0));
}

TEST_F(DLPCacheMgrTaskTest, FindingsAreNumberedFrom1) {
    for (char const letter : {'a', 'b', 'c'})
        ASSERT_EQ(Front().AddTask(Result(letter)), 0);
    EXPECT_EQ(Finding(1).file_path, HString("/data/a.txt"));
    EXPECT_EQ(Finding(2).file_path, HString("/data/b.txt"));
    EXPECT_EQ(Finding(3).file_path, HString("/data/c.txt"));
    EXPECT_EQ(FindCode(4), 0);
}

TEST_F(DLPCacheMgrTaskTest, TasksKeepTheirFindingsApart) {
    AddTask("other");
    ASSERT_EQ(Front().AddTask(Result('a')), 0);
    EXPECT_EQ(FindCode(1, "other"), 0);
}

TEST_F(DLPCacheMgrTaskTest, RecordingAloneAnswersNothing) {
    ASSERT_EQ(Front().AddTask(Result('a')), 0);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1", "t2", "t3"}))}), 0);
}

TEST_F(DLPCacheMgrTaskTest, ResultThatIsNotSensitiveIsRecordedWithoutAVerdict) {
    QVKKeywordMatchResult result = Result('a');
    result.sensitive = false;
    ASSERT_EQ(Front().AddTask(result), 0);
    EXPECT_EQ(Finding(1).extra_1, HString());
}

// Nobody could ever write these: they must not stop those that come after them.
TEST_F(DLPCacheMgrTaskTest, WhatNoTaskCouldKeepIsRefusedAtOnce) {
    QVKKeywordMatchResult without_md5 = Result('a');
    NodeOf(without_md5).file_node->file_md5.clear();
    EXPECT_EQ(Front().AddTask(without_md5), -15);
    QVKKeywordMatchResult without_match = Result('a');
    NodeOf(without_match).matched_tpl_ids.clear();
    NodeOf(without_match).attach_nodes.clear();
    EXPECT_EQ(Front().AddTask(without_match), -15);
    QVKKeywordMatchResult without_file = Result('a');
    NodeOf(without_file).file_node = nullptr;
    EXPECT_EQ(Front().AddTask(without_file), -15);
    ASSERT_EQ(Front().AddTask(Result('b')), 0);
    EXPECT_EQ(Finding(1).file_path, HString("/data/b.txt"));
}

class DLPCacheMgrTaskLogTest : public DLPCacheMgrTaskTest {
  protected:
    DLPCacheMgrTaskLogTest() { (void)FindCode(1); }  // opens the task

    // The lines of the front's sources that one result gives, as "level text".
    template <class Store>
    static std::vector<std::string> LinesOf(Store store) {
        LogLines log;
        store();
        std::vector<std::string> lines;
        for (auto const& line : log.Take()) {
            if (line.source == "../DLPCacheMgr.cpp") lines.push_back(std::to_string(line.level) + " " + line.text);
        }
        return lines;
    }
    static std::vector<std::string> OfAddCache(QVKKeywordMatchResult const& result) {
        return LinesOf([&] { (void)Front().AddCache(result); });
    }
    static std::vector<std::string> OfAddTask(QVKKeywordMatchResult const& result) {
        return LinesOf([&] { (void)Front().AddTask(result); });
    }
    static std::string Job(char const* level, char const* words) { return std::string(level) + " " + kOfJob + words; }
};

TEST_F(DLPCacheMgrTaskLogTest, StoringLogsBothStores) {
    EXPECT_THAT(OfAddCache(Result('a')),
                ElementsAre(Job("3", ", add task cache, ret : 0"), Job("3", ", add tpl cache, ret : 0")));
}

TEST_F(DLPCacheMgrTaskLogTest, ResultForTheTemplatesAloneLogsOneStore) {
    QVKKeywordMatchResult result = Result('a');
    result.sensitive = false;
    EXPECT_THAT(OfAddCache(result), ElementsAre(Job("3", ", add tpl cache, ret : 0")));
}

TEST_F(DLPCacheMgrTaskLogTest, CancelledResultIsToldAsAbandoned) {
    QVKKeywordMatchResult result = Result('a');
    result.status = 30002;
    EXPECT_THAT(OfAddCache(result), ElementsAre("3 task was cancel, this result will be abandoned."));
}

TEST_F(DLPCacheMgrTaskLogTest, EmptyTaskIdLogsTheCheck) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->task_id.clear();
    EXPECT_THAT(
        OfAddCache(result),
        ElementsAre("3 task id: , kind: 0, files: 1, path: /data/a.txt, md5: aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"));
}

TEST_F(DLPCacheMgrTaskLogTest, MissingCheckParamIsAnAssertion) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param = nullptr;
    EXPECT_THAT(OfAddCache(result), ElementsAre("1 AddCache, Line:261, ASSERT_NULL"));
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:293, ASSERT_NULL"));
}

TEST_F(DLPCacheMgrTaskLogTest, UnknownTaskIsAnAssertion) {
    QVKKeywordMatchResult result = Result('a');
    result.check_param->task_id = "unknown";
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:327, ASSERT_NULL"));
}

TEST_F(DLPCacheMgrTaskLogTest, FailingTaskStoreIsLoggedAndEndsTheStoring) {
    QVKKeywordMatchResult result = Result('a');
    NodeOf(result).file_node->file_md5.clear();
    EXPECT_THAT(OfAddCache(result),
                ElementsAre(Job("1", ", add cache failed. ret: -15"), Job("3", ", add task cache, ret : -15")));
}

TEST_F(DLPCacheMgrTaskLogTest, FailingTemplateStoreIsLogged) {
    QVKKeywordMatchResult result = Result('a');
    result.sensitive = false;
    NodeOf(result).attach_nodes.pop_back();
    EXPECT_THAT(OfAddCache(result), ElementsAre("1 Tpl size:2,Attach size:1", Job("3", ", add tpl cache, ret : -50")));
}

// Each result fails one check more than the one before it: the first check that fails is the one that is told.
TEST_F(DLPCacheMgrTaskLogTest, ChecksOfTheShapeComeInTheirOrder) {
    QVKKeywordMatchResult result = Result('a');
    NodeOf(result).attach_nodes.pop_back();
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:308, ASSERT_FALSE"));
    result.match_items[0].match_nodes.push_back(NodeOf(result));
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:305, ASSERT_FALSE"));
    result.check_param->file_items[0].count_matched = false;
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:302, ASSERT_FALSE"));
    result.match_items.push_back(result.match_items[0]);
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:299, ASSERT_FALSE"));
    result.check_param->file_items.clear();
    EXPECT_THAT(OfAddTask(result), ElementsAre("1 AddTask, Line:296, ASSERT_FALSE"));
}

TEST_F(DLPCacheMgrTaskLogTest, NothingIsLoggedWhileLoggingIsOff) {
    EXPECT_EQ(Front().AddCache(Result('a')), 0);
    EXPECT_EQ(Front().AddCache(QVKKeywordMatchResult()), -50);
    EXPECT_FALSE(Exists(root_ / "log"));
}

}  // namespace
