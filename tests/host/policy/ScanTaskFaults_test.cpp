#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <string>

#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "tests/host/policy/TaskBuilder.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

using tasks::Same;
using tasks::Task;

// What the kernel refuses leaves the old file, and a task that was to be read fresh.
class ScanTaskFaults : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "t1/ScanTask.arc";

    ScanTaskFaults() {
        std::filesystem::create_directory(root / "t1");
        EXPECT_EQ(ScanTask().to_file(path), 0);
    }
    void ExpectOldFileAlone() const {
        EXPECT_EQ(ReadBytes(path), tasks::kFreshTaskFile);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root / "t1"), {}), 1);
    }
};

TEST_F(ScanTaskFaults, AFailedWriteLeavesTheOldFile) {
    for (auto const call :
         {SystemCall::kOpen, SystemCall::kFchmod, SystemCall::kPwrite, SystemCall::kClose, SystemCall::kRename}) {
        FaultInjection faults;
        faults.Fail(call, 1, ENOSPC);
        EXPECT_EQ(Task().to_file(path), ENOSPC);
        EXPECT_EQ(faults.Fired(), 1);
        ExpectOldFileAlone();
    }
}

TEST_F(ScanTaskFaults, ADirectoryThatIsThereCostsNothing) {
    FaultInjection faults;
    EXPECT_EQ(Task().to_file(path), 0);
    EXPECT_EQ(faults.Count(SystemCall::kMkdir), 0);
    EXPECT_EQ(faults.Count(SystemCall::kStat), 0);
    EXPECT_EQ(faults.CountAll(), 5);  // open, chmod, write, close, rename
}

TEST_F(ScanTaskFaults, ADirectoryThatCannotBeMadeIsAMissingOne) {
    FaultInjection faults;
    faults.FailFrom(SystemCall::kMkdir, 1, EACCES);
    EXPECT_EQ(Task().to_file(root / "t2/ScanTask.arc"), ENOENT);
    EXPECT_FALSE(Exists(root / "t2"));
}

TEST_F(ScanTaskFaults, ADirectoryThatIsTakenAwayAgainIsNotMadeForEver) {
    FaultInjection faults;
    faults.FailFrom(SystemCall::kOpen, 1, ENOENT);
    EXPECT_EQ(Task().to_file(path), ENOENT);
    ExpectOldFileAlone();
}

TEST_F(ScanTaskFaults, ATaskThatCannotBeReadIsFresh) {
    struct Case {
        SystemCall call;
        int error;
    };
    for (auto const& [call, error] : {Case{SystemCall::kOpen, EMFILE}, Case{SystemCall::kOpen, EACCES},
                                      Case{SystemCall::kStat, EIO}, Case{SystemCall::kPread, EIO}}) {
        FaultInjection faults;
        faults.Fail(call, 1, error);
        ScanTask task = Task();
        EXPECT_EQ(task.from_file(path), error);
        EXPECT_TRUE(Same(task, ScanTask()));
    }
}

TEST_F(ScanTaskFaults, ShortAndInterruptedReadsAreContinued) {
    ASSERT_EQ(Task().to_file(path), 0);
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, EINTR);
    faults.ShortenFrom(SystemCall::kPread, 1, 7);
    ScanTask task;
    EXPECT_EQ(task.from_file(path), 0);
    EXPECT_TRUE(Same(task, Task()));
}

TEST_F(ScanTaskFaults, ReadingARecordTakesFewSystemCalls) {
    FaultInjection const faults;
    ScanTask task;
    EXPECT_EQ(task.from_file(path), 0);
    EXPECT_LE(faults.CountAll(), 5);
}

TEST_F(ScanTaskFaults, ATextThatCannotBeWrittenLeavesTheOldOne) {
    QVKKeywordText text;
    text.text = "old";
    ASSERT_EQ(text.to_file(root / "t1/ScanTask.arc"), 0);
    for (auto const call : {SystemCall::kOpen, SystemCall::kPwrite, SystemCall::kRename}) {
        FaultInjection faults;
        faults.Fail(call, 1, ENOSPC);
        EXPECT_EQ(QVKKeywordText().to_file(path), ENOSPC);
    }
    QVKKeywordText read;
    EXPECT_EQ(read.from_file(path), 0);
    EXPECT_EQ(read, text);
}

TEST_F(ScanTaskFaults, ATextThatCannotBeReadIsReset) {
    ASSERT_EQ(QVKKeywordText().to_file(path), 0);
    for (auto const call : {SystemCall::kOpen, SystemCall::kStat, SystemCall::kPread}) {
        FaultInjection faults;
        faults.Fail(call, 1, EIO);
        QVKKeywordText text;
        text.text = "from before";
        EXPECT_EQ(text.from_file(path), EIO);
        EXPECT_EQ(text, QVKKeywordText());
    }
}

TEST_F(ScanTaskFaults, PoliciesThatCannotBeWrittenAreNotPutInForce) {
    auto* const mgr = QVKPolicySensitiveFileAuditVTMgr::pins();
    QVKPolicySensitiveFileAuditVT table;
    table.nodes = {tasks::Policy()};
    for (auto const call : {SystemCall::kMkdir, SystemCall::kOpen, SystemCall::kPwrite, SystemCall::kRename}) {
        FaultInjection faults;
        faults.FailFrom(call, 1, EACCES);
        EXPECT_NE(mgr->set(table), 0);
        QVKPolicySensitiveFileAuditVT in_force;
        EXPECT_TRUE(mgr->get(in_force, false));
        EXPECT_TRUE(in_force.nodes.empty());
    }
}

TEST_F(ScanTaskFaults, PoliciesThatCannotBeReadLeaveThoseInForce) {
    auto* const mgr = QVKPolicySensitiveFileAuditVTMgr::pins();
    QVKPolicySensitiveFileAuditVT table;
    ASSERT_EQ(mgr->set(table), 0);
    table.nodes = {tasks::Policy()};
    ASSERT_TRUE(mgr->set_no_write_to_arc(table));
    for (auto const call : {SystemCall::kOpen, SystemCall::kStat, SystemCall::kPread}) {
        FaultInjection faults;
        faults.Fail(call, 1, EIO);
        QVKPolicySensitiveFileAuditVT in_force;
        EXPECT_TRUE(mgr->get(in_force, true));
        EXPECT_EQ(in_force.nodes.size(), 1U);
    }
}

}  // namespace
