#include "task/DLPCacheTaskMgr.h"

#include <ctime>
#include <filesystem>
#include <thread>

#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "tests/task/RegistryFixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

using DLPCacheTaskMgrTest = RegistryFixture;

// The instance.

class PinsTest : public RegistryFixture {
  protected:
    PinsTest() { SetPolicies({}); }

    static std::vector<std::string> PolicyIds() {
        QVKPolicySensitiveFileAuditVT table;
        EXPECT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->get(table, false));
        std::vector<std::string> ids;
        for (auto const& node : table.nodes)
            ids.push_back(node.header().id.get_str());
        return ids;
    }
    std::string WritePolicies(std::vector<QVKPolicySensitiveFileAuditNode> const& policies) const {
        fs::create_directories(root_ / "config");
        std::string const file = root_ / "config/PolicySensitiveFileAudit.arc";
        QVKPolicySensitiveFileAuditVT table;
        table.nodes = policies;
        EXPECT_EQ(table.to_file(HString(file)), 0);
        return file;
    }
};

TEST_F(PinsTest, IsOneInstanceForAllThreads) {
    std::vector<DLPCacheTaskMgr*> seen(8);
    std::vector<std::thread> threads;
    for (auto& slot : seen)
        threads.emplace_back([&slot] { slot = DLPCacheTaskMgr::pins(); });
    for (auto& thread : threads)
        thread.join();
    ASSERT_NE(DLPCacheTaskMgr::pins(), nullptr);
    EXPECT_THAT(seen, testing::Each(DLPCacheTaskMgr::pins()));
}

TEST_F(PinsTest, PutsThePoliciesOfTheRecordFileInForce) {
    WritePolicies({Policy("P7"), Policy("P8")});
    (void)DLPCacheTaskMgr::pins();
    EXPECT_THAT(PolicyIds(), ElementsAre("P7", "P8"));
}

TEST_F(PinsTest, DoesNotWriteThePoliciesBack) {
    std::string const file = WritePolicies({Policy("P7")});
    auto const before = fs::last_write_time(file) - std::chrono::hours(1);
    fs::last_write_time(file, before);
    (void)DLPCacheTaskMgr::pins();
    EXPECT_EQ(fs::last_write_time(file), before);
}

TEST_F(PinsTest, KeepsThePoliciesInForceWithoutARecordFile) {
    SetPolicies({Policy("P1")});
    (void)DLPCacheTaskMgr::pins();
    EXPECT_THAT(PolicyIds(), ElementsAre("P1"));
}

TEST_F(PinsTest, KeepsThePoliciesInForceWhenTheRecordFileIsDamaged) {
    std::string const file = WritePolicies({Policy("P7")});
    std::string const bytes = ReadBytes(file);
    WriteBytes(file, bytes.substr(0, bytes.size() - 1));
    SetPolicies({Policy("P1")});
    LogLines log;
    (void)DLPCacheTaskMgr::pins();
    EXPECT_THAT(PolicyIds(), ElementsAre("P1"));
    EXPECT_THAT(log.TakeTexts(), Contains(testing::StartsWith("read audit policies failed, errno: ")));
}

TEST_F(PinsTest, RegistryOfItsOwnLoadsNoPolicies) {
    WritePolicies({Policy("P7")});
    Restart();
    EXPECT_THAT(PolicyIds(), IsEmpty());
}

TEST(UnstampedRootTest, RegistryWipesARootWithoutACurrentStamp) {
    TempRoot const root;
    ScanTask task;
    task.id = "A";
    ASSERT_EQ(task.to_file(HString(root / "cache/task/A/ScanTask.arc")), 0);
    DLPCacheTaskMgr const registry;
    EXPECT_FALSE(registry.IsExistTask("A"));
    EXPECT_TRUE(Exists(root / "cache/Version.ini"));
    EXPECT_FALSE(Exists(root / "cache/task"));
}

// Start.

TEST_F(DLPCacheTaskMgrTest, TasksAreFoundAgainAtStart) {
    ScanTask& task = MakeTask("A", 1234);
    task.name = "nightly";
    task.end_time = 5678;
    task.handle = 9;
    task.status = kTaskEnded;
    *task.policy->kind = 3;
    registry_->AddTask(&task);
    Restart();
    ScanTask const* const found = registry_->GetTask("A");
    ASSERT_NE(found, nullptr);
    EXPECT_NE(found, &task);
    EXPECT_EQ(found->name.get_str(), "nightly");
    EXPECT_EQ(found->start_time, 1234);
    EXPECT_EQ(found->end_time, 5678);
    EXPECT_EQ(found->handle, 9);
    EXPECT_EQ(found->status, kTaskEnded);
    EXPECT_EQ(found->kind(), 3);
    EXPECT_EQ(found->audit_node().header().id.get_str(), "P1");
}

TEST_F(DLPCacheTaskMgrTest, TasksOfHostileIdsAreFoundAgainAtStart) {
    for (char const* id : {"../x", "a/b", ".", "..", "%", "T 1 {ä}"})
        Add(id);
    Restart();
    EXPECT_THAT(HistoryIds(), UnorderedElementsAre("../x", "a/b", ".", "..", "%", "T 1 {ä}"));
}

TEST_F(DLPCacheTaskMgrTest, EmptyTaskDirectoryIsRemovedAtStart) {
    fs::create_directories(TaskPath("A"));
    Restart();
    EXPECT_FALSE(Exists(TaskPath("A")));
    EXPECT_THAT(HistoryIds(), IsEmpty());
}

TEST_F(DLPCacheTaskMgrTest, ForeignNamesFilesAndLinksAreLeftAloneAtStart) {
    WriteRecord("%zz", MakeTask("A"));
    WriteFile(".hidden", "file", "");
    fs::create_directories(TaskPath(".empty"));
    WriteBytes(TaskPath("file"), "");
    fs::create_directories(root_ / "elsewhere");
    ASSERT_EQ(MakeTask("B").to_file(HString(root_ / "elsewhere/ScanTask.arc")), 0);
    fs::create_directory_symlink(root_ / "elsewhere", TaskPath("B"));
    Restart();
    EXPECT_THAT(HistoryIds(), IsEmpty());
    EXPECT_THAT(Files(TaskPath()), ElementsAre("%zz", ".hidden", "B", "file"));
}

TEST_F(DLPCacheTaskMgrTest, RecordOfAnotherIdIsFiledUnderTheIdInTheFile) {
    WriteRecord("A", MakeTask("B", 7));
    Restart();
    EXPECT_FALSE(registry_->IsExistTask("A"));
    ASSERT_TRUE(registry_->IsExistTask("B"));
    EXPECT_EQ(registry_->GetTask("B")->start_time, 7);
}

TEST_F(DLPCacheTaskMgrTest, OfTwoRecordsOfOneIdTheLaterDirectoryCounts) {
    WriteRecord("A", MakeTask("X", 1));
    WriteRecord("B", MakeTask("X", 2));
    Restart();
    EXPECT_THAT(HistoryIds(), ElementsAre("X"));
    EXPECT_EQ(registry_->GetTask("X")->start_time, 2);
}

TEST_F(DLPCacheTaskMgrTest, InitReplacesTheTasksThatAreRegistered) {
    ScanTask const& task = Add("A", 1);
    WriteRecord("A", MakeTask("A", 2));
    registry_->Init();
    EXPECT_NE(registry_->GetTask("A"), &task);
    EXPECT_EQ(registry_->GetTask("A")->start_time, 2);
}

TEST_F(DLPCacheTaskMgrTest, DirectoriesWithoutReadableRecordsYieldOneTaskWithoutId) {
    WriteFile("A", "index", "");
    WriteFile("B", "ScanTask.arc", "damaged");
    WriteFile("C", "ScanTask.arc", "");
    LogLines log;
    Restart();
    EXPECT_THAT(HistoryIds(), ElementsAre(""));
    EXPECT_THAT(log.TakeTexts(), ElementsAre("read task record failed, errno: 2, file: " + RecordPath("A"),
                                             "read task record failed, errno: 74, file: " + RecordPath("B"),
                                             "read task record failed, errno: 74, file: " + RecordPath("C")));
}

// AddTask.

TEST_F(DLPCacheTaskMgrTest, AddedTaskIsTheCallersObjectAndGetsARecord) {
    ScanTask& task = MakeTask("A", 5);
    EXPECT_FALSE(registry_->IsExistTask("A"));
    registry_->AddTask(&task);
    EXPECT_TRUE(registry_->IsExistTask("A"));
    EXPECT_EQ(registry_->GetTask("A"), &task);
    EXPECT_EQ(Record("A").start_time, 5);
}

TEST_F(DLPCacheTaskMgrTest, AddingNullDoesNothing) {
    registry_->AddTask(nullptr);
    EXPECT_THAT(HistoryIds(), IsEmpty());
}

TEST_F(DLPCacheTaskMgrTest, AddedTaskIsReadFromItsRecordButForItsHandle) {
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

TEST_F(DLPCacheTaskMgrTest, ReloadLeavesCopiesOfTheTaskTheirPolicy) {
    Add("A");
    ScanTask& task = MakeTaskOf(Policy("P2"), "A");
    ScanTask const copy = task;
    registry_->AddTask(&task);
    EXPECT_EQ(copy.audit_node().header().id.get_str(), "P2");
}

TEST_F(DLPCacheTaskMgrTest, AddedTaskTakesThePlaceOfAnEarlierOne) {
    ScanTask const& earlier = Add("A");
    ScanTask const& later = Add("A");
    EXPECT_NE(&earlier, &later);
    EXPECT_EQ(registry_->GetTask("A"), &later);
    EXPECT_FALSE(registry_->IsTaskRelease(&earlier));
}

TEST_F(DLPCacheTaskMgrTest, TaskWithADamagedRecordStaysAsTheCallerMadeIt) {
    WriteFile("A", "ScanTask.arc", "damaged");
    LogLines log;
    ScanTask const& task = Add("A", 5);
    EXPECT_EQ(task.id.get_str(), "A");
    EXPECT_EQ(task.start_time, 5);
    EXPECT_EQ(registry_->GetTask("A"), &task);
    EXPECT_EQ(ReadBytes(RecordPath("A")), "damaged");
    EXPECT_THAT(log.TakeTexts(), ElementsAre("read task record failed, errno: 74, file: " + RecordPath("A")));
}

TEST_F(DLPCacheTaskMgrTest, DamagedRecordIsReplacedWithTheNextStatus) {
    WriteFile("A", "ScanTask.arc", "damaged");
    Add("A", 5);
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_EQ(Record("A").start_time, 5);
}

TEST_F(DLPCacheTaskMgrTest, RecordOfAnotherTaskIsNotLoadedIntoAnAddedOne) {
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

TEST_F(DLPCacheTaskMgrTest, UnknownTaskIsNull) {
    EXPECT_EQ(registry_->GetTask("A"), nullptr);
    fs::create_directories(TaskPath("A"));
    EXPECT_EQ(registry_->GetTask("A"), nullptr);
    EXPECT_FALSE(registry_->IsExistTask("A"));
}

TEST_F(DLPCacheTaskMgrTest, GetTaskReadsARecordThatCameLater) {
    WriteRecord("A", MakeTask("A", 7));
    ScanTask const* const task = registry_->GetTask("A");
    ASSERT_NE(task, nullptr);
    EXPECT_EQ(task->start_time, 7);
    EXPECT_EQ(registry_->GetTask("A"), task);
}

TEST_F(DLPCacheTaskMgrTest, GetTaskFilesARecordOfAnotherIdUnderTheIdInTheFile) {
    ScanTask const& earlier = Add("B", 1);
    WriteRecord("A", MakeTask("B", 2));
    ScanTask const* const task = registry_->GetTask("A");
    ASSERT_NE(task, nullptr);
    EXPECT_NE(task, &earlier);
    EXPECT_EQ(task->id.get_str(), "B");
    EXPECT_EQ(registry_->GetTask("B"), task);
    EXPECT_FALSE(registry_->IsExistTask("A"));
}

TEST_F(DLPCacheTaskMgrTest, UnreadableRecordsYieldOneTaskWithoutIdForAllCalls) {
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

// UpdateTaskStatus.

TEST_F(DLPCacheTaskMgrTest, StatusOutOfRangeOrUnknownIdChangesNothingAndWritesNothing) {
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

TEST_F(DLPCacheTaskMgrTest, StatusThatIsNotFinalIsWrittenAndNothingElseChanges) {
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

TEST_F(DLPCacheTaskMgrTest, FinalStatusSetsTheEndTimeAndDeletesTheSnapCache) {
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

TEST_F(DLPCacheTaskMgrTest, FinalStatusWithoutASnapCacheIsNoFailure) {
    Add("A");
    LogLines log;
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_THAT(log.TakeTexts(), IsEmpty());
}

// TaskToArc.

TEST_F(DLPCacheTaskMgrTest, NoteIsNeverWrittenAndStaysInMemory) {
    ScanTask& task = MakeTask("A");
    task.note = "private";
    registry_->AddTask(&task);
    registry_->UpdateTaskStatus("A", kTaskCreated);
    EXPECT_EQ(Record("A").note.get_str(), "");
    EXPECT_EQ(task.note.get_str(), "private");
}

TEST_F(DLPCacheTaskMgrTest, TaskToArcReplacesTheRecord) {
    ScanTask& task = Add("A");
    task.name = "renamed";
    registry_->TaskToArc(&task);
    EXPECT_EQ(Record("A").name.get_str(), "renamed");
    EXPECT_THAT(Files(TaskPath("A")), ElementsAre("ScanTask.arc"));
}

TEST_F(DLPCacheTaskMgrTest, TaskToArcWritesATaskThatIsNotRegistered) {
    registry_->TaskToArc(&MakeTask("A", 5));
    EXPECT_EQ(Record("A").start_time, 5);
    registry_->TaskToArc(nullptr);
}

TEST_F(DLPCacheTaskMgrTest, RecordThatCannotBeWrittenIsLogged) {
    fs::create_directories(TaskPath("A", "ScanTask.arc/x"));
    ScanTask const& task = MakeTask("A");
    LogLines log;
    registry_->TaskToArc(&task);
    EXPECT_THAT(log.TakeTexts(), ElementsAre("write task record failed, errno: 21, id: A"));
}

TEST_F(DLPCacheTaskMgrTest, DirectoryThatCannotBeTheTasksIsRefused) {
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

TEST_F(DLPCacheTaskMgrTest, NothingIsWrittenOrDeletedBehindALink) {
    fs::create_directories(root_ / "home");
    WriteBytes(root_ / "home/SnapCache", "");
    fs::create_directories(TaskPath());
    fs::create_directory_symlink(root_ / "home", TaskPath("A"));
    Add("A");
    registry_->UpdateTaskStatus("A", kTaskFinished);
    EXPECT_THAT(Files(root_ / "home"), ElementsAre("SnapCache"));
    EXPECT_EQ(StatusOf("A"), kTaskFinished);
}

TEST_F(DLPCacheTaskMgrTest, NothingIsWrittenBehindALinkedTaskPath) {
    fs::create_directories(root_ / "home");
    fs::remove_all(TaskPath());
    fs::create_directory_symlink(root_ / "home", root_ / "cache/task");
    Add("A");
    EXPECT_THAT(Files(root_ / "home"), IsEmpty());
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

// Null pointers in a task stand for empty objects.

TEST_F(DLPCacheTaskMgrTest, TaskWithoutPolicyIsTakenAsOneOfAnEmptyPolicy) {
    ScanTask& task = MakeTask("A");
    task.policy = nullptr;
    registry_->AddTask(&task);
    EXPECT_EQ(registry_->GetTaskCountByTask(task), 1U);
    Tasks tasks;
    registry_->GetTaskByPolicyID("", tasks);
    registry_->GetPolicyTaskByPolicyID("", tasks);
    EXPECT_THAT(Ids(tasks), ElementsAre("A", "A"));
    EXPECT_THAT(HistoryIds(), ElementsAre("A"));
    EXPECT_EQ(task.status, kTaskFinished);
}

TEST_F(DLPCacheTaskMgrTest, TaskWithNullsInItsPolicyIsTakenAsOneOfAnEmptyPolicy) {
    ScanTask& task = MakeTask("A");
    task.policy->audit_node = nullptr;
    task.policy->kind = nullptr;
    registry_->AddTask(&task);
    ScanTask& other = MakeTask("B");
    other.policy->audit_node->policy = nullptr;
    registry_->AddTask(&other);
    EXPECT_EQ(registry_->GetTaskCountByTask(task), 2U);
    EXPECT_THAT(HistoryIds(), UnorderedElementsAre("A", "B"));
}

// GetTaskCountByTask.

TEST_F(DLPCacheTaskMgrTest, CountIsOfTasksWithTheSameKindPolicyAndVersion) {
    ScanTask const& task = Add("A");
    Add("B");
    AddOf(Policy("P1", 101), "other version");
    AddOf(Policy("p1"), "other policy");
    ScanTask& other_kind = MakeTask("other kind");
    *other_kind.policy->kind = 1;
    registry_->AddTask(&other_kind);
    EXPECT_EQ(registry_->GetTaskCountByTask(task), 2U);
    EXPECT_EQ(registry_->GetTaskCountByTask(MakeTask("not registered")), 2U);
    EXPECT_EQ(registry_->GetTaskCountByTask(other_kind), 1U);
    EXPECT_EQ(registry_->GetTaskCountByTask(MakeTaskOf(Policy("P9"), "x")), 0U);
}

}  // namespace
