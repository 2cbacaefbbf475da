// One task and its record file: adding, finding, changing, writing; tasks without a readable record.
#include <ctime>
#include <filesystem>

#include "task/DLPCacheTaskStore.h"
#include "tests/task/RegistryFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

using DLPCacheTaskRecordTest = RegistryFixture;

// AddTask.

TEST_F(DLPCacheTaskRecordTest, AddedTaskIsTheCallersObjectAndGetsARecord) {
    ScanTask& task = MakeTask("A", 5);
    EXPECT_FALSE(registry_->IsExistTask("A"));
    registry_->AddTask(&task);
    EXPECT_TRUE(registry_->IsExistTask("A"));
    EXPECT_EQ(registry_->GetTask("A"), &task);
    EXPECT_EQ(Record("A").start_time, 5);
}

TEST_F(DLPCacheTaskRecordTest, AddingNullDoesNothing) {
    registry_->AddTask(nullptr);
    EXPECT_THAT(HistoryIds(), IsEmpty());
}

TEST_F(DLPCacheTaskRecordTest, AddedTaskIsReadFromItsRecordButForItsHandle) {
    ScanTask& old = MakeTask("A", 5);
    old.handle = 1;
    old.name = "old";
    old.status = kTaskFinished;
    registry_->AddTask(&old);
    Restart();
    ScanTask& task = MakeTaskOf(Policy("P2"), "A");
    task.handle = 2;
    task.note = "mine";
    registry_->AddTask(&task);
    EXPECT_EQ(registry_->GetTask("A"), &task);
    EXPECT_EQ(task.handle, 2);
    EXPECT_EQ(task.name.get_str(), "old");
    EXPECT_EQ(task.start_time, 5);
    EXPECT_EQ(task.status, kTaskFinished);
    EXPECT_EQ(task.note.get_str(), "");
    EXPECT_EQ(task.audit_node().header().id.get_str(), "P1");
    EXPECT_EQ(Record("A").handle, 1);  // the record is not written anew
}

TEST_F(DLPCacheTaskRecordTest, ReloadLeavesCopiesOfTheTaskTheirPolicy) {
    Add("A");
    ScanTask& task = MakeTaskOf(Policy("P2"), "A");
    ScanTask const copy = task;
    registry_->AddTask(&task);
    EXPECT_EQ(copy.audit_node().header().id.get_str(), "P2");
}

TEST_F(DLPCacheTaskRecordTest, AddedTaskTakesThePlaceOfAnEarlierOne) {
    ScanTask const& earlier = Add("A");
    ScanTask const& later = Add("A");
    EXPECT_NE(&earlier, &later);
    EXPECT_EQ(registry_->GetTask("A"), &later);
    EXPECT_FALSE(registry_->IsTaskRelease(&earlier));
}

// Other threads may look at these two while the object is read anew.
TEST_F(DLPCacheTaskRecordTest, AddingARegisteredObjectAgainTouchesNeitherItsIdNorItsHandle) {
    ScanTask& task = Add("A", 5);
    ScanTask recorded = task;
    recorded.handle = 1;
    recorded.start_time = 6;
    WriteRecord("A", recorded);
    task.handle = 2;
    char16_t const* const id = task.id.view().data();
    registry_->AddTask(&task);
    EXPECT_EQ(task.start_time, 6);
    EXPECT_EQ(task.handle, 2);
    EXPECT_EQ(task.id.view().data(), id);
}

TEST_F(DLPCacheTaskRecordTest, TaskWithADamagedRecordStaysAsTheCallerMadeIt) {
    WriteFile("A", "ScanTask.arc", "damaged");
    LogLines log;
    ScanTask const& task = Add("A", 5);
    EXPECT_EQ(task.id.get_str(), "A");
    EXPECT_EQ(task.start_time, 5);
    EXPECT_EQ(registry_->GetTask("A"), &task);
    EXPECT_EQ(ReadBytes(RecordPath("A")), "damaged");
    EXPECT_THAT(log.TakeTexts(), ElementsAre("read task record failed, errno: 74, file: " + RecordPath("A")));
}

TEST_F(DLPCacheTaskRecordTest, DamagedRecordIsReplacedWithTheNextStatus) {
    WriteFile("A", "ScanTask.arc", "damaged");
    Add("A", 5);
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_EQ(Record("A").start_time, 5);
}

TEST_F(DLPCacheTaskRecordTest, RecordOfAnotherTaskIsNotLoadedIntoAnAddedOne) {
    ScanTask const& other = Add("B", 1);
    WriteRecord("A", MakeTask("B", 2));
    LogLines log;
    ScanTask const& task = Add("A", 3);
    EXPECT_EQ(task.id.get_str(), "A");
    EXPECT_EQ(task.start_time, 3);
    EXPECT_THAT(log.TakeTexts(), ElementsAre("task record of another id: B, file: " + RecordPath("A")));
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_EQ(Record("A").id.get_str(), "A");
    EXPECT_EQ(Record("B").start_time, 1);  // nothing went into the other one's directory
    EXPECT_EQ(registry_->GetTask("B"), &other);
}

// GetTask.

TEST_F(DLPCacheTaskRecordTest, UnknownTaskIsNull) {
    EXPECT_EQ(registry_->GetTask("A"), nullptr);
    fs::create_directories(TaskPath("A"));
    EXPECT_EQ(registry_->GetTask("A"), nullptr);
    EXPECT_FALSE(registry_->IsExistTask("A"));
}

TEST_F(DLPCacheTaskRecordTest, GetTaskReadsARecordThatCameLater) {
    WriteRecord("A", MakeTask("A", 7));
    ScanTask const* const task = registry_->GetTask("A");
    ASSERT_NE(task, nullptr);
    EXPECT_EQ(task->start_time, 7);
    EXPECT_EQ(registry_->GetTask("A"), task);
}

TEST_F(DLPCacheTaskRecordTest, GetTaskFilesARecordOfAnotherIdUnderTheIdInTheFile) {
    NotSound();
    ScanTask const& earlier = Add("B", 1);
    WriteRecord("A", MakeTask("B", 2));
    ScanTask const* const task = registry_->GetTask("A");
    ASSERT_NE(task, nullptr);
    EXPECT_NE(task, &earlier);
    EXPECT_EQ(task->id.get_str(), "B");
    EXPECT_EQ(registry_->GetTask("B"), task);
    EXPECT_FALSE(registry_->IsExistTask("A"));
}

TEST_F(DLPCacheTaskRecordTest, UnreadableRecordsYieldOneTaskWithoutIdForAllCalls) {
    WriteFile("A", "ScanTask.arc", "damaged");
    WriteFile("B", "ScanTask.arc", "damaged");
    ScanTask const* const task = registry_->GetTask("A");
    ASSERT_NE(task, nullptr);
    EXPECT_EQ(task->id.get_str(), "");
    EXPECT_EQ(registry_->GetTask("A"), task);
    EXPECT_EQ(registry_->GetTask("B"), task);
    EXPECT_EQ(registry_->GetTask(""), task);
    EXPECT_FALSE(registry_->IsExistTask("A"));
}

TEST_F(DLPCacheTaskRecordTest, IdTooLongForANameIsThatOfNoTask) {
    Add("A");
    HString const id(std::string(300, 'x'));
    EXPECT_EQ(registry_->GetTask(id), nullptr);
    EXPECT_EQ(registry_->GetCache(id), nullptr);
    EXPECT_THAT(HistoryIds(), ElementsAre("A"));
}

// UpdateTaskStatus.

TEST_F(DLPCacheTaskRecordTest, StatusOutOfRangeOrUnknownIdChangesNothingAndWritesNothing) {
    ScanTask const& task = Add("A");
    WriteFile("A", "SnapCache", "");
    fs::remove(RecordPath("A"));
    for (int const status : {0, 5, -1, 1000})
        registry_->UpdateTaskStatus("A", status);
    registry_->UpdateTaskStatus("B", kTaskFinished);
    EXPECT_EQ(task.status, kTaskRunning);
    EXPECT_EQ(task.end_time, 0);
    EXPECT_THAT(Files(TaskPath()), ElementsAre("A"));
    EXPECT_THAT(Files(TaskPath("A")), ElementsAre("SnapCache"));
}

TEST_F(DLPCacheTaskRecordTest, StatusThatIsNotFinalIsWrittenAndNothingElseChanges) {
    ScanTask const& task = Add("A");
    WriteFile("A", "SnapCache", "");
    for (int const status : {kTaskCreated, kTaskRunning}) {
        registry_->UpdateTaskStatus("A", status);
        EXPECT_EQ(task.status, status);
        EXPECT_EQ(task.end_time, 0);
        EXPECT_EQ(Record("A").status, status);
        EXPECT_TRUE(HasSnapCache("A"));
    }
}

TEST_F(DLPCacheTaskRecordTest, FinalStatusSetsTheEndTimeAndDeletesTheSnapCache) {
    for (int const status : {kTaskFinished, kTaskEnded}) {
        std::string const id = "A" + std::to_string(status);
        ScanTask const& task = Add(id);
        WriteFile(id, "SnapCache", "");
        long long const before = std::time(nullptr);
        registry_->UpdateTaskStatus(HString(id), status);
        EXPECT_EQ(task.status, status);
        EXPECT_GE(task.end_time, before);
        EXPECT_LE(task.end_time, std::time(nullptr));
        EXPECT_EQ(Record(id).status, status);
        EXPECT_EQ(Record(id).end_time, task.end_time);
        EXPECT_FALSE(HasSnapCache(id));
    }
}

TEST_F(DLPCacheTaskRecordTest, FinalStatusWithoutASnapCacheIsNoFailure) {
    Add("A");
    LogLines log;
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
}

// TaskToArc.

TEST_F(DLPCacheTaskRecordTest, NoteIsNeverWrittenAndStaysInMemory) {
    ScanTask& task = MakeTask("A");
    task.note = "private";
    registry_->AddTask(&task);
    registry_->UpdateTaskStatus("A", kTaskCreated);
    EXPECT_EQ(Record("A").note.get_str(), "");
    EXPECT_EQ(task.note.get_str(), "private");
}

TEST_F(DLPCacheTaskRecordTest, TaskToArcReplacesTheRecord) {
    ScanTask& task = Add("A");
    task.name = "renamed";
    registry_->TaskToArc(&task);
    EXPECT_EQ(Record("A").name.get_str(), "renamed");
    EXPECT_THAT(Files(TaskPath("A")), ElementsAre("ScanTask.arc"));
}

TEST_F(DLPCacheTaskRecordTest, TaskToArcWritesATaskThatIsNotRegistered) {
    registry_->TaskToArc(&MakeTask("A", 5));
    EXPECT_EQ(Record("A").start_time, 5);
    registry_->TaskToArc(nullptr);
}

TEST_F(DLPCacheTaskRecordTest, RecordThatCannotBeWrittenIsLogged) {
    NotSound();
    fs::create_directories(TaskPath("A", "ScanTask.arc/x"));
    ScanTask const& task = MakeTask("A");
    LogLines log;
    registry_->TaskToArc(&task);
    EXPECT_THAT(log.TakeTexts(), ElementsAre("write task record failed, errno: 21, id: A"));
}

TEST_F(DLPCacheTaskRecordTest, DirectoryThatCannotBeTheTasksIsRefused) {
    fs::create_directories(TaskPath());
    WriteBytes(TaskPath("A"), "a file");
    std::string const long_id(300, 'x');
    ScanTask const& long_name = MakeTask(long_id);
    LogLines log;
    registry_->TaskToArc(&long_name);
    registry_->TaskToArc(&MakeTask("A"));
    EXPECT_THAT(log.TakeTexts(), ElementsAre("task dir refused, id: " + long_id, "task dir refused, id: A"));
    EXPECT_THAT(Files(TaskPath()), ElementsAre("A"));
}

TEST_F(DLPCacheTaskRecordTest, NothingIsWrittenOrDeletedBehindALink) {
    NotSound();
    fs::create_directories(root_ / "home");
    WriteBytes(root_ / "home/SnapCache", "");
    fs::create_directories(TaskPath());
    fs::create_directory_symlink(root_ / "home", TaskPath("A"));
    Add("A");
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_THAT(Files(root_ / "home"), ElementsAre("SnapCache"));
    EXPECT_EQ(StatusOf("A"), kTaskFinished);
}

TEST_F(DLPCacheTaskRecordTest, NothingIsWrittenBehindALinkedTaskPath) {
    NotSound();
    fs::create_directories(root_ / "home");
    fs::remove_all(TaskPath());
    fs::create_directory_symlink(root_ / "home", root_ / "cache/task");
    Add("A");
    EXPECT_THAT(Files(root_ / "home"), IsEmpty());
}

TEST_F(DLPCacheTaskRecordTest, NothingIsReadBehindALink) {
    NotSound();
    QVKPolicySensitiveFileAuditNode policy = Policy("P1");
    policy.tpl_ids = {"T1"};
    { DLPCacheTaskStore const with_snapshot(MakeTaskOf(policy, "A")); }
    WriteRecord("A", MakeTask("A", 7));
    ASSERT_EQ(registry_->GetTaskTplMd5("A", "T1"), CurrentMd5());
    fs::rename(TaskPath("A"), root_ / "home");
    fs::create_directory_symlink(root_ / "home", TaskPath("A"));
    EXPECT_EQ(registry_->GetTask("A"), nullptr);
    EXPECT_EQ(registry_->GetTaskTplMd5("A", "T1"), HString());
    EXPECT_EQ(Add("A", 5).start_time, 5);
}

// Tasks without an id.

class NoIdTest : public RegistryFixture {
  protected:
    NoIdTest() {
        WriteFile("%", "ScanTask.arc", "damaged");
        WriteFile("%", "SnapCache", "");
        Restart();
        task_ = registry_->GetTask("");
    }
    void ExpectUntouched() const {
        EXPECT_EQ(ReadBytes(RecordPath("%")), "damaged");
        EXPECT_TRUE(HasSnapCache("%"));
    }

    ScanTask* task_ = nullptr;
};

TEST_F(NoIdTest, IsNeverWrittenAndNothingIsDeletedForIt) {
    ASSERT_NE(task_, nullptr);
    registry_->TaskToArc(task_);
    registry_->UpdateTaskStatus("", kTaskRunning);
    registry_->UpdateTaskStatus("", kTaskFinished);
    EXPECT_EQ(task_->status, kTaskFinished);
    ExpectUntouched();
}

TEST_F(NoIdTest, IsClosedByTheHistoryInMemoryAlone) {
    EXPECT_THAT(HistoryIds(), ElementsAre(""));
    EXPECT_EQ(task_->status, kTaskFinished);
    ExpectUntouched();
}

TEST_F(NoIdTest, IsCounted) {
    EXPECT_EQ(registry_->GetTaskCountByTask(*task_), 1U);
}

TEST_F(NoIdTest, AddedOneIsRegisteredAndNeitherReadNorWritten) {
    WriteRecord("%", MakeTask("X", 9));
    ScanTask const& task = Add("", 5);
    EXPECT_EQ(registry_->GetTask(""), &task);
    EXPECT_EQ(task.start_time, 5);
    EXPECT_EQ(task.id.get_str(), "");
    EXPECT_EQ(Record("%").id.get_str(), "X");
}

}  // namespace
