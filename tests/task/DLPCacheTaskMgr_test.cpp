#include "task/DLPCacheTaskMgr.h"

#include <filesystem>

#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "tests/support/OnAllThreads.h"
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
    auto const seen = AskOnAllThreads(8, [] { return DLPCacheTaskMgr::pins(); });
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
    NotSound();
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

TEST_F(DLPCacheTaskMgrTest, DirectoryOfNothingButAnUnfinishedRecordIsRemovedAtStart) {
    WriteFile("A", "ScanTask.arc.123-0.tmp", "half a record");
    Restart();
    EXPECT_FALSE(Exists(TaskPath("A")));
    EXPECT_THAT(HistoryIds(), IsEmpty());
}

TEST_F(DLPCacheTaskMgrTest, UnfinishedRecordBesideAnythingElseStaysAtStart) {
    for (char const* other : {"index", "KeywordTemplate.arc.123-0.tmp", "texts/text"}) {
        WriteFile("A", "ScanTask.arc.123-0.tmp", "half a record");
        fs::create_directories(fs::path(TaskPath("A", other)).parent_path());
        WriteFile("A", other, "");
        Restart();
        EXPECT_TRUE(Exists(TaskPath("A", "ScanTask.arc.123-0.tmp"))) << other;
        EXPECT_TRUE(Exists(TaskPath("A", other)));
        EXPECT_THAT(HistoryIds(), ElementsAre(""));
        fs::remove_all(TaskPath("A"));
    }
}

TEST_F(DLPCacheTaskMgrTest, ForeignFileOfATaskNamedLikeARecordStaysAtStart) {
    WriteFile("ScanTask.arc.x", "foo.tmp", "");
    Restart();
    EXPECT_TRUE(Exists(TaskPath("ScanTask.arc.x", "foo.tmp")));
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
    NotSound();
    WriteRecord("A", MakeTask("B", 7));
    Restart();
    EXPECT_FALSE(registry_->IsExistTask("A"));
    ASSERT_TRUE(registry_->IsExistTask("B"));
    EXPECT_EQ(registry_->GetTask("B")->start_time, 7);
}

TEST_F(DLPCacheTaskMgrTest, OfTwoRecordsOfOneIdTheLaterDirectoryCounts) {
    NotSound();
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
