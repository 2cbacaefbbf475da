// The opened writers of the registry.
#include <filesystem>

#include "tests/task/OpenedTaskFixture.h"

namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

class DLPCacheTaskCachesTest : public OpenedTaskFixture {
  protected:
    void SetUp() override {
        other_ = MakeTask("task-2", {"T2"});
        registry_->AddTask(&other_);
    }
    // Makes every write to a task's store fail, or lets them succeed again.
    void BreakStore(char const* task_id) const { fs::create_directory(Dir(task_id) + "cache"); }
    void HealStore(char const* task_id) const { fs::remove(Dir(task_id) + "cache"); }
    [[nodiscard]] std::string Record1() const { return Dir() + "ScanTask.arc"; }

    ScanTask other_;
};

TEST_F(DLPCacheTaskCachesTest, WriterIsMadeOnceAndWritesByItself) {
    DLPCacheTask* const writer = registry_->GetCache("task-1");
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(registry_->GetCache("task-1"), writer);
    EXPECT_EQ(registry_->GetOpenedCache("task-1"), writer);
    EXPECT_NE(registry_->GetCache("task-2"), writer);
    for (char const* path : {"/a", "/b"})
        ASSERT_EQ(writer->AddNumbered(MakeFile(path)), 1);
    EXPECT_TRUE(registry_->WaitWritten("task-1", kLong));
    EXPECT_EQ(FindIn(*writer->store(), 2).file, Stored("/b", 2));
}

TEST_F(DLPCacheTaskCachesTest, TaskIsNotOpenBeforeItsWriterIsAskedFor) {
    EXPECT_EQ(registry_->GetOpenedCache("task-1"), nullptr);
    EXPECT_THAT(Files(Dir()), ElementsAre("ScanTask.arc"));
}

TEST_F(DLPCacheTaskCachesTest, UnknownTaskHasNoWriterAndLeavesNoTrace) {
    EXPECT_EQ(registry_->GetCache("unknown"), nullptr);
    EXPECT_EQ(registry_->GetCache(""), nullptr);
    EXPECT_FALSE(Exists(root_ / "cache/task/unknown"));
    EXPECT_FALSE(Exists(root_ / "cache/task/%"));
}

TEST_F(DLPCacheTaskCachesTest, TaskIsServedAfterARestart) {
    Record(MakeFile("/a"));
    Restart();
    Record(MakeFile("/b"));
    SensFile found;
    EXPECT_TRUE(registry_->FindTaskSensFileBySN("task-1", 1, found));
    EXPECT_EQ(found, Stored("/a", 1));
    EXPECT_TRUE(registry_->FindTaskSensFileBySN("task-1", 2, found));
    EXPECT_EQ(found, Stored("/b", 2));
}

TEST_F(DLPCacheTaskCachesTest, TaskWithoutAReadableRecordHasNoWriterAndLeavesNoTrace) {
    fs::create_directories(Dir("bad"));
    WriteBytes(Dir("bad") + "ScanTask.arc", "damaged");
    Restart();
    EXPECT_EQ(registry_->GetCache("bad"), nullptr);
    EXPECT_EQ(registry_->GetCache(""), nullptr);
    EXPECT_EQ(registry_->GetTaskTplMd5("", "T1"), HString());
    EXPECT_THAT(Files(Dir("bad")), ElementsAre("ScanTask.arc"));
    EXPECT_FALSE(Exists(root_ / "cache/task/%"));
}

TEST_F(DLPCacheTaskCachesTest, TaskWhoseRecordNamesAnotherIsServedByTheOthersWriter) {
    NotSound();
    fs::create_directories(Dir("alias"));
    fs::copy_file(Record1(), Dir("alias") + "ScanTask.arc");
    DLPCacheTask* const writer = registry_->GetCache("alias");
    EXPECT_NE(writer, nullptr);
    EXPECT_EQ(registry_->GetCache("task-1"), writer);
    EXPECT_EQ(registry_->GetCache("alias"), writer);
    EXPECT_FALSE(Exists(Dir("alias") + "index"));
    EXPECT_TRUE(Exists(Dir("task-1") + "index"));
}

TEST_F(DLPCacheTaskCachesTest, FindTellsOnlyWhetherThereIsAnAnswer) {
    SensFile file = MakeFile("untouched");
    EXPECT_FALSE(registry_->FindTaskSensFileBySN("unknown", 1, file));
    EXPECT_EQ(file, MakeFile("untouched"));
    EXPECT_FALSE(registry_->FindTaskSensFileBySN("task-1", 1, file));
    EXPECT_EQ(file, SensFile());
    Record(MakeFile("/a"));
    EXPECT_TRUE(registry_->FindTaskSensFileBySN("task-1", 1, file));
    EXPECT_EQ(file, Stored("/a", 1));
    // A failure is an answer too: whoever must know asks the writer.
    EXPECT_TRUE(registry_->FindTaskSensFileBySN("task-1", 0, file));
    EXPECT_EQ(CodeOf(*registry_->GetCache("task-1"), 0), -14);
}

TEST_F(DLPCacheTaskCachesTest, Md5IsThatOfTheTasksSnapshotAfterTheTemplateChanged) {
    HString const md5 = CurrentMd5("T1");
    ASSERT_NE(registry_->GetCache("task-1"), nullptr);
    ChangeT1();
    ASSERT_NE(CurrentMd5("T1"), md5);
    EXPECT_EQ(registry_->GetTaskTplMd5("task-1", "T1"), md5);
    EXPECT_EQ(registry_->GetTaskTplMd5("task-1", "T2"), CurrentMd5("T2"));
}

TEST_F(DLPCacheTaskCachesTest, Md5OfATaskThatIsNotOpenComesFromItsSnapshot) {
    HString const md5 = CurrentMd5("T1");
    ASSERT_NE(registry_->GetCache("task-1"), nullptr);
    ChangeT1();
    Restart();
    auto const files = Files(Dir());
    EXPECT_EQ(registry_->GetTaskTplMd5("task-1", "T1"), md5);
    EXPECT_EQ(registry_->GetOpenedCache("task-1"), nullptr);
    EXPECT_EQ(Files(Dir()), files);
}

TEST_F(DLPCacheTaskCachesTest, WithoutSnapshotThereIsNoMd5AndNoneIsMade) {
    EXPECT_EQ(registry_->GetTaskTplMd5("task-1", "T1"), HString());
    EXPECT_THAT(Files(Dir()), ElementsAre("ScanTask.arc"));
    EXPECT_EQ(registry_->GetTaskTplMd5("unknown", "T1"), HString());
    EXPECT_FALSE(Exists(Dir("unknown")));
}

TEST_F(DLPCacheTaskCachesTest, TemplateThatTheTaskDidNotUseHasNoMd5) {
    ASSERT_NE(registry_->GetCache("task-2"), nullptr);
    EXPECT_EQ(registry_->GetTaskTplMd5("task-2", "T1"), HString());
    EXPECT_EQ(registry_->GetTaskTplMd5("task-2", "T2"), CurrentMd5("T2"));
}

TEST_F(DLPCacheTaskCachesTest, DamagedSnapshotHasNoMd5) {
    ASSERT_NE(registry_->GetCache("task-1"), nullptr);
    Restart();
    WriteBytes(Dir() + "KeywordTemplate.arc", "damaged");
    EXPECT_EQ(registry_->GetTaskTplMd5("task-1", "T1"), HString());
    EXPECT_EQ(ReadBytes(Dir() + "KeywordTemplate.arc"), "damaged");
}

TEST_F(DLPCacheTaskCachesTest, NothingIsQueuedForATaskThatIsNotOpen) {
    EXPECT_TRUE(registry_->WaitWritten("task-1", 0));
    EXPECT_TRUE(registry_->WaitWritten("unknown", kLong));
    EXPECT_TRUE(registry_->WaitAllWritten(0));
    EXPECT_TRUE(registry_->WaitAllWritten(-1));
}

TEST_F(DLPCacheTaskCachesTest, WaitingForATaskThatCannotWriteEndsInTime) {
    ASSERT_NE(registry_->GetCache("task-2"), nullptr);
    ASSERT_NE(registry_->GetCache("task-1"), nullptr);
    for (char const* task_id : {"task-1", "task-2"}) {
        BreakStore(task_id);
        ASSERT_EQ(registry_->GetCache(task_id)->AddNumbered(MakeFile("/a")), 1);
        EXPECT_FALSE(registry_->WaitWritten(task_id, 0));
        EXPECT_FALSE(registry_->WaitWritten(task_id, 20));
    }
    EXPECT_FALSE(registry_->WaitAllWritten(0));
    EXPECT_FALSE(registry_->WaitAllWritten(20));
    HealStore("task-1");
    EXPECT_TRUE(registry_->WaitWritten("task-1", kLong));
    EXPECT_FALSE(registry_->WaitAllWritten(20));
    HealStore("task-2");
    EXPECT_TRUE(registry_->WaitAllWritten(kLong));
    SensFile found;
    EXPECT_TRUE(registry_->FindTaskSensFileBySN("task-2", 1, found));
}

TEST_F(DLPCacheTaskCachesTest, LaterFilesWaitForTheOneThatCannotBeWritten) {
    DLPCacheTask* const writer = registry_->GetCache("task-1");
    ASSERT_NE(writer, nullptr);
    BreakStore("task-1");
    for (char const* path : {"/a", "/b", "/c"})
        ASSERT_EQ(writer->AddNumbered(MakeFile(path)), 1);
    EXPECT_FALSE(writer->WaitWritten(20));
    EXPECT_EQ(writer->store()->GetIndexNumber(), 0);
    EXPECT_EQ(FindIn(*writer, 2).file, Stored("/b", 2));
    HealStore("task-1");
    EXPECT_TRUE(writer->WaitWritten(kLong));
    EXPECT_EQ(FindIn(*writer->store(), 3).file, Stored("/c", 3));
}

}  // namespace
