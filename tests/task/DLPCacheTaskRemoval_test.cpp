#include <filesystem>

#include "task/DLPCacheTaskStore.h"
#include "tests/support/NoFile.h"
#include "tests/support/fault/Unreadable.h"
#include "tests/task/RemovalFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

using DelTaskTest = RemovalFixture;

// The template caches.

TEST_F(DelTaskTest, CacheWhoseMd5IsStillCurrentIsKept) {
    std::string const md5 = MakeCache();
    Registry().DelTask(AddUser("A"));
    EXPECT_TRUE(HasCache(md5));
}

TEST_F(DelTaskTest, OutdatedCacheThatOnlyThisTaskUsedIsDeleted) {
    std::string const old_md5 = MakeCache();
    ScanTask const& task = AddUser("A");
    Edit("T1");
    std::string const new_md5 = MakeCache();
    Registry().DelTask(task);
    EXPECT_FALSE(HasCache(old_md5));
    EXPECT_TRUE(HasCache(new_md5));
}

TEST_F(DelTaskTest, OutdatedCacheGoesWithTheLastTaskThatUsedIt) {
    std::string const md5 = MakeCache();
    ScanTask const& a = AddUser("A");
    ScanTask const& b = AddUser("B");
    Edit("T1");
    Registry().DelTask(a);
    EXPECT_TRUE(HasCache(md5));
    Registry().DelTask(b);
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(DelTaskTest, TasksOfAnEarlierProcessCountAsThoseOfThisOne) {
    std::string const md5 = MakeCache();
    ScanTask const& a = AddUser("A", {"T1"}, Writer::kNever);
    ScanTask const& b = AddUser("B", {"T1"}, Writer::kNever);
    Edit("T1");
    Registry().DelTask(a);
    EXPECT_TRUE(HasCache(md5));
    Registry().DelTask(b);
    EXPECT_FALSE(HasCache(md5));
    EXPECT_EQ(Registry().GetOpenedCache("A"), nullptr);
    EXPECT_EQ(Registry().GetOpenedCache("B"), nullptr);
}

TEST_F(DelTaskTest, OtherTaskThatUsedTheTemplateUnderItsNewMd5DoesNotKeepTheOldCache) {
    std::string const md5 = MakeCache();
    ScanTask const& a = AddUser("A");
    Edit("T1");
    AddUser("B");
    Registry().DelTask(a);
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(DelTaskTest, EveryTemplateOfThePolicyIsLookedAt) {
    std::string const md5_1 = MakeCache("T1");
    std::string const md5_2 = MakeCache("T2");
    ScanTask const& task = AddUser("A", {"unknown", "T1", "T2"});
    Edit("T1");
    Edit("T2");
    Registry().DelTask(task);
    EXPECT_FALSE(HasCache(md5_1, "T1"));
    EXPECT_FALSE(HasCache(md5_2, "T2"));
}

TEST_F(DelTaskTest, CacheOfATemplateThatThePolicyDoesNotNameIsKept) {
    std::string const md5 = MakeCache("T2");
    ScanTask const& task = AddUser("A", {"T1"});
    Edit("T2");
    Registry().DelTask(task);
    EXPECT_TRUE(HasCache(md5, "T2"));
}

TEST_F(DelTaskTest, CacheOfATemplateThatIsNoLongerDefinedIsKept) {
    std::string const md5 = MakeCache();
    ScanTask const& task = AddUser("A");
    RemoveTpl("T1");
    Registry().DelTask(task);
    EXPECT_TRUE(HasCache(md5));
}

TEST_F(DelTaskTest, TaskThatIsNotRegisteredIsCleanedUpAllTheSame) {
    std::string const md5 = MakeCache();
    ScanTask const& task = MakeUser("A");
    { DLPCacheTaskStore const of_an_earlier_process(task); }
    ASSERT_TRUE(Exists(TaskPath("A")));
    Edit("T1");
    Registry().DelTask(task);
    EXPECT_FALSE(HasCache(md5));
    EXPECT_FALSE(Exists(TaskPath("A")));
    EXPECT_FALSE(Registry().IsTaskRelease(&task));
}

TEST_F(DelTaskTest, HistoryIsAskedOnlyWhenAnOutdatedCacheIsInQuestion) {
    ScanTask const& probe = AddHistoryProbe();
    MakeCache();
    ScanTask const& a = AddUser("A");
    ScanTask const& b = AddUser("B");
    Registry().DelTask(a);
    EXPECT_EQ(probe.status, kTaskRunning);
    Edit("T1");
    Registry().DelTask(b);
    EXPECT_EQ(probe.status, kTaskFinished);
}

TEST_F(DelTaskTest, TaskWithoutASnapshotDeletesNoCache) {
    std::string const md5 = MakeCache();
    ScanTask& task = MakeUser("A");
    Registry().AddTask(&task);
    Edit("T1");
    Registry().DelTask(task);
    EXPECT_TRUE(HasCache(md5));
    EXPECT_FALSE(Exists(TaskPath("A")));
}

TEST_F(DelTaskTest, RecordThatIsNoFileKeepsNoCache) {
    NotSound();
    std::string const md5 = MakeCache();
    for (std::string const kind : kNoFiles)
        PutNoFile(kind, RecordPath(kind), "missing");
    ScanTask const& task = AddUser("A");
    Edit("T1");
    Registry().DelTask(task);
    EXPECT_FALSE(HasCache(md5));
}

// The directory.

TEST_F(DelTaskTest, DirectoryGoesWithAllThatItHolds) {
    ScanTask const& task = AddUser("A");
    AddUser("B");
    WriteFile("A", "SnapCache", "");
    fs::create_directories(TaskPath("A", "texts/deep"));
    WriteFile("A", "texts/deep/text", "");
    Registry().DelTask(task);
    EXPECT_THAT(Files(TaskPath()), ElementsAre("B"));
}

TEST_F(DelTaskTest, DirectoriesOfHostileIdsAreTheirOwn) {
    WriteBytes(root_ / "letter", "");
    AddUser("B");
    for (char const* id : {"..", "../..", ".", "%", "B/", "B/../B", "../task/B", "a/b", "/", " "}) {
        ScanTask const& task = AddUser(id);
        EXPECT_EQ(Files(TaskPath()).size(), 2U) << id;
        Registry().DelTask(task);
        EXPECT_THAT(Files(TaskPath()), ElementsAre("B")) << id;
    }
    EXPECT_TRUE(Exists(root_ / "letter"));
}

TEST_F(DelTaskTest, NothingBehindALinkIsDeleted) {
    NotSound();
    fs::create_directories(root_ / "home");
    WriteBytes(root_ / "home/ScanTask.arc", "");
    (void)Registry();
    fs::create_directories(TaskPath());
    fs::create_directory_symlink(root_ / "home", TaskPath("A"));
    Registry().DelTask(MakeUser("A"));
    EXPECT_TRUE(Exists(root_ / "home/ScanTask.arc"));
    EXPECT_TRUE(Exists(TaskPath("A")));
}

TEST_F(DelTaskTest, NothingBehindALinkedTaskPathIsDeleted) {
    NotSound();
    ScanTask const& task = AddUser("A");
    fs::rename(root_ / "cache/task", root_ / "home");
    fs::create_directory_symlink(root_ / "home", root_ / "cache/task");
    Registry().DelTask(task);
    EXPECT_TRUE(Exists(root_ / "home/A/ScanTask.arc"));
}

TEST_F(DelTaskTest, FileInTheDirectorysPlaceStays) {
    ScanTask const& task = MakeUser("A");
    (void)Registry();
    fs::create_directories(TaskPath());
    WriteBytes(TaskPath("A"), "x");
    Registry().DelTask(task);
    EXPECT_TRUE(Exists(TaskPath("A")));
}

TEST_F(DelTaskTest, WholeTaskPathIsNeverDeleted) {
    AddUser("B");
    WriteFile("%", "file", "");
    ScanTask& task = MakeUser("");
    Registry().DelTask(task);
    Registry().AddTask(&task);
    Registry().DelTask(task);
    EXPECT_THAT(Files(TaskPath()), ElementsAre("%", "B"));
    EXPECT_THAT(Files(TaskPath("%")), ElementsAre("file"));
}

// The registry.

TEST_F(DelTaskTest, RemovedTaskIsReleasedAndForgotten) {
    ScanTask& task = AddUser("A");
    Registry().DelTask(task);
    EXPECT_FALSE(Registry().IsExistTask("A"));
    EXPECT_EQ(Registry().GetTask("A"), nullptr);
    EXPECT_TRUE(Registry().IsTaskRelease(&task));
    EXPECT_EQ(task.id.get_str(), "A");
}

TEST_F(DelTaskTest, TaskThatAskingForTheHistoryRegistersIsForgottenAsWell) {
    MakeCache();
    ScanTask const& task = MakeUser("A");
    { DLPCacheTaskStore const of_an_earlier_process(task); }
    WriteRecord("A", task);
    {
        Unreadable const record(RecordPath("A"));
        ASSERT_FALSE(Registry().IsExistTask("A"));
    }
    Edit("T1");
    Registry().DelTask(task);
    EXPECT_FALSE(Registry().IsExistTask("A"));
    Registry().UpdateTaskStatus("A", kTaskEnded);
    EXPECT_FALSE(Exists(TaskPath("A")));
}

TEST_F(DelTaskTest, RegisteredObjectIsReleasedWhateverCopyIsGiven) {
    ScanTask const& task = AddUser("A");
    ScanTask const copy = task;
    Registry().DelTask(copy);
    EXPECT_TRUE(Registry().IsTaskRelease(&task));
    EXPECT_FALSE(Registry().IsTaskRelease(&copy));
}

TEST_F(DelTaskTest, ReleasedTaskIsNeverWritten) {
    ScanTask& task = AddUser("A");
    Registry().DelTask(task);
    WriteFile("A", "ScanTask.arc", "as it was");
    Registry().TaskToArc(&task);
    Registry().UpdateTaskStatus("A", kTaskFinished);
    EXPECT_EQ(ReadBytes(RecordPath("A")), "as it was");
    EXPECT_EQ(task.status, kTaskRunning);
}

TEST_F(DelTaskTest, ReleasedTaskThatIsAddedAgainIsNotWrittenEither) {
    ScanTask& task = AddUser("A");
    Registry().DelTask(task);
    Registry().AddTask(&task);
    Registry().UpdateTaskStatus("A", kTaskFinished);
    EXPECT_EQ(task.status, kTaskFinished);
    EXPECT_FALSE(Exists(RecordPath("A")));
}

TEST_F(DelTaskTest, WriterOfARemovedTaskStays) {
    ScanTask const& task = AddUser("A");
    DLPCacheTask const* const writer = Registry().GetOpenedCache("A");
    ASSERT_NE(writer, nullptr);
    Registry().DelTask(task);
    EXPECT_EQ(Registry().GetOpenedCache("A"), writer);
}

TEST_F(DelTaskTest, TaskWithoutAReadableRecordLeavesTheRegistryAlone) {
    WriteFile("X", "ScanTask.arc", "damaged");
    WriteFile("%", "file", "");
    ScanTask const* const task = Registry().GetTask("");
    ASSERT_NE(task, nullptr);
    Registry().DelTask(*task);
    EXPECT_FALSE(Registry().IsExistTask(""));
    EXPECT_TRUE(Registry().IsTaskRelease(task));
    EXPECT_THAT(Files(TaskPath()), ElementsAre("%", "X"));
}

TEST_F(DelTaskTest, TaskWithNullPointersIsRemoved) {
    ScanTask& task = MakeTask("A");
    task.policy = nullptr;
    Registry().AddTask(&task);
    Registry().DelTask(task);
    EXPECT_FALSE(Registry().IsExistTask("A"));
    EXPECT_THAT(Files(TaskPath()), IsEmpty());
}

}  // namespace
