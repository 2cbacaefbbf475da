#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <string>

#include "host/policy/ParamLog.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "host/policy/SensFile.h"
#include "tests/host/policy/TaskBuilder.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/EveryAllocation.h"

namespace {

using fault::FailEachAllocation;
using tasks::Same;
using tasks::Task;
using Table = QVKPolicySensitiveFileAuditVT;
using Mgr = QVKPolicySensitiveFileAuditVTMgr;

class RecordMemoryFaults : public testing::Test {
  protected:
    TempRoot root;
    HString const path = HString(root / "record.arc");
    std::string const narrow = root / "record.arc";
};

TEST_F(RecordMemoryFaults, ATaskThatCannotBeWrittenLeavesTheOldFile) {
    ASSERT_EQ(ScanTask().to_file(path), 0);
    ScanTask const task = Task();
    EXPECT_GT(FailEachAllocation([&] { return task.to_file(path); },
                                 [&](int result) {
                                     EXPECT_EQ(result, ENOMEM);
                                     EXPECT_EQ(ReadBytes(narrow), tasks::kFreshTaskFile);
                                 }),
              0);
    EXPECT_EQ(ReadBytes(narrow), tasks::kTaskFile);
}

TEST_F(RecordMemoryFaults, ATaskWhoseDirectoryIsMissingIsWrittenOrNot) {
    ScanTask const task = Task();
    HString const deep(root / "a task/ScanTask.arc");
    EXPECT_GT(FailEachAllocation([&] { return task.to_file(deep); },
                                 [this](int result) {
                                     EXPECT_EQ(result, ENOMEM);
                                     EXPECT_FALSE(Exists(root / "a task/ScanTask.arc"));
                                     std::filesystem::remove_all(root / "a task");
                                 }),
              0);
    EXPECT_EQ(ReadBytes(root / "a task/ScanTask.arc"), tasks::kTaskFile);
}

TEST_F(RecordMemoryFaults, ATaskThatCannotBeReadIsFresh) {
    ASSERT_EQ(Task().to_file(path), 0);
    ScanTask task;
    ScanTask const used = Task();
    EXPECT_GT(FailEachAllocation(
                  [&] {
                      task = used;
                      return task.from_file(path);
                  },
                  [&](int result) {
                      EXPECT_EQ(result, ENOMEM);
                      EXPECT_TRUE(Same(task, ScanTask()));
                  }),
              0);
    EXPECT_TRUE(Same(task, Task()));
}

TEST_F(RecordMemoryFaults, WithoutAnyMemoryATaskIsFreshAllTheSame) {
    ScanTask task = Task();
    {
        AllocationFailure const failure(1, AllocationFailure::Extent::kAllFromThere);
        EXPECT_NE(task.from_file(path), 0);
    }
    EXPECT_TRUE(Same(task, ScanTask()));
    ASSERT_EQ(task.to_file(path), 0);
    EXPECT_EQ(ReadBytes(narrow), tasks::kFreshTaskFile);
}

TEST_F(RecordMemoryFaults, LookingAtATaskNeedsNone) {
    ScanTask empty;
    empty.policy = nullptr;
    QVKPolicySensitiveFileAuditNode bare;
    bare.policy = nullptr;
    AllocationFailure const count(0);
    EXPECT_EQ(empty.kind(), 0);
    EXPECT_TRUE(empty.audit_node().header().id.empty());
    EXPECT_EQ(bare.header().time_stamp, 0);
    EXPECT_EQ(count.Count(), 0);
}

TEST_F(RecordMemoryFaults, ATextIsAFileOrNot) {
    ASSERT_EQ(QVKKeywordText().to_file(path), 0);
    std::string const old = ReadBytes(narrow);
    QVKKeywordText text;
    text.text = "a text";
    text.line_positions = {{1, {{2, 3}}}};
    EXPECT_GT(FailEachAllocation([&] { return text.to_file(path); },
                                 [&](int result) {
                                     EXPECT_EQ(result, ENOMEM);
                                     EXPECT_EQ(ReadBytes(narrow), old);
                                 }),
              0);
    QVKKeywordText read;
    EXPECT_GT(FailEachAllocation([&] { return read.from_file(path); },
                                 [&](int result) {
                                     EXPECT_EQ(result, ENOMEM);
                                     EXPECT_EQ(read, QVKKeywordText());
                                 }),
              0);
    EXPECT_EQ(read, text);
}

TEST_F(RecordMemoryFaults, PoliciesAreGivenOutWholeOrNotAtAll) {
    Table table;
    table.nodes = {tasks::Policy()};
    ASSERT_EQ(Mgr::pins()->set(table), 0);
    for (bool const from_arc : {false, true}) {
        Table read;
        EXPECT_GT(FailEachAllocation(
                      [&] {
                          read.nodes.clear();
                          read.nodes.shrink_to_fit();
                          return Mgr::pins()->get(read, from_arc) ? 1 + static_cast<int>(read.nodes.size()) : 0;
                      },
                      // Reading the file anew may fail alone: then those in force are given out.
                      [&](int result) { EXPECT_TRUE(result == 2 || (result == 0 && read.nodes.empty())) << result; }),
                  0);
        ASSERT_EQ(read.nodes.size(), 1U);
        EXPECT_TRUE(Same(read.nodes[0], tasks::Policy()));
    }
}

TEST_F(RecordMemoryFaults, PoliciesThatCannotBeSetChangeNothing) {
    Table table;
    ASSERT_TRUE(Mgr::pins()->set_no_write_to_arc(table));
    table.nodes = {tasks::Policy()};
    auto const in_force = [] {
        Table read;
        EXPECT_TRUE(Mgr::pins()->get(read, false));
        return read.nodes.size();
    };
    EXPECT_GT(FailEachAllocation([&] { return Mgr::pins()->set(table); },
                                 [&](int result) {
                                     EXPECT_EQ(result, ENOMEM);
                                     EXPECT_EQ(in_force(), 0U);
                                     EXPECT_FALSE(Exists(root / "config/PolicySensitiveFileAudit.arc"));
                                 }),
              0);
    EXPECT_EQ(in_force(), 1U);
    Table const empty = {};
    {
        AllocationFailure const failure(1, AllocationFailure::Extent::kAllFromThere);
        EXPECT_TRUE(Mgr::pins()->set_no_write_to_arc(empty));
        EXPECT_FALSE(failure.Happened());
    }
    EXPECT_GT(FailEachAllocation([&] { return Mgr::pins()->set_no_write_to_arc(table); },
                                 [&](bool done) {
                                     EXPECT_FALSE(done);
                                     EXPECT_EQ(in_force(), 0U);
                                 }),
              0);
}

TEST_F(RecordMemoryFaults, AFindingIsResetAndAParamLoggedWithNothingElseThrown) {
    SensFile file;
    file.tpl_ids = {"a template with a long id"};
    QVKKeywordCheckParam const param;
    AllocationFailure const failure(1, AllocationFailure::Extent::kAllFromThere);
    EXPECT_THROW((void)ParamLog(param), std::bad_alloc);
    file.reset_to_default();
    EXPECT_TRUE(file.tpl_ids.empty());
}

}  // namespace
