// Storing a result with its task, with each allocation failing in turn: a failing code, and nothing by halves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "front/DLPCacheMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "tests/front/FrontFixture.h"
#include "tests/support/LogLines.h"
#include "tests/support/fault/EveryAllocation.h"

namespace {

using fault::Extent;
using fault::WithEveryFailure;

class DLPCacheMgrTaskMemoryTest : public FrontTest {
  protected:
    DLPCacheMgrTaskMemoryTest() {
        DefineTpl("t1");
        Install();
        auto* const task = new ScanTask;
        task->id = "job";
        task->policy->audit_node->tpl_ids = Ids({"t1"});
        DLPCacheTaskMgr::pins()->AddTask(task);
        EXPECT_NE(Task(), nullptr);
        (void)AskNode('a', Ids({"t1"}));  // opens the cache
    }

    static DLPCacheTask* Task() { return DLPCacheTaskMgr::pins()->GetCache("job"); }

    static QVKKeywordMatchResult Result() {
        QVKKeywordMatchResult result;
        result.check_param->task_id = "job";
        result.check_param->file_items = {Item("a", Ids({"t1"}))};
        result.sensitive = true;
        QVKKeywordMatchItem& item = result.match_items.emplace_back();
        item.sensitive = true;
        item.match_nodes = {Scanned('a')};
        AddMatch(item.match_nodes[0], "t1", 3);
        auto& rule = item.match_nodes[0].attach_nodes[0].items[0];
        rule.rule_type = 1;
        rule.rule_text = "a word of some length";
        return result;
    }
};

TEST_F(DLPCacheMgrTaskMemoryTest, FindingIsWholeOrRefused) {
    QVKKeywordMatchResult const result = Result();
    int findings = 0;
    int code = 0;
    WithEveryFailure([&] { code = Front().AddTask(result); },
                     [&](bool failed) {
                         EXPECT_TRUE(code == 0 || (failed && code < 0)) << code;
                         findings += code == 0 ? 1 : 0;
                     });
    EXPECT_GE(findings, 2);
    for (int sn = 1; sn <= findings; ++sn) {
        SensFile file;
        EXPECT_EQ(Task()->Find(sn, file), 2);
        EXPECT_EQ(file.extra_1, HString("a word of some length(3)\n"));
        EXPECT_EQ(file.tpl_ids, Ids({"t1"}));
    }
    SensFile file;
    EXPECT_EQ(Task()->Find(findings + 1, file), 0);
}

TEST_F(DLPCacheMgrTaskMemoryTest, StoringWithoutAnyMemoryFails) {
    QVKKeywordMatchResult const result = Result();
    int of_cache = 0;
    int of_task = 0;
    {
        AllocationFailure const failure(1, Extent::kAllFromThere);
        of_cache = Front().AddCache(result);
        of_task = Front().AddTask(result);
    }
    EXPECT_EQ(of_cache, -50);
    EXPECT_EQ(of_task, -50);
    EXPECT_EQ(AskCode({Item("a", Ids({"t1"}))}), 0);
}

TEST_F(DLPCacheMgrTaskMemoryTest, LogLineThatThereIsNoMemoryForFailsNothing) {
    LogLines const log;
    QVKKeywordMatchResult result;
    result.status = kScanCancelled;
    int cancelled = -1;
    int empty = 0;
    {
        AllocationFailure const failure(1, Extent::kAllFromThere);
        cancelled = Front().AddCache(result);
        result.status = 0;
        empty = Front().AddCache(result);
    }
    EXPECT_EQ(cancelled, 0);
    EXPECT_EQ(empty, -50);
}

}  // namespace
