#include <filesystem>
#include <iterator>

#include "task/DLPCacheTaskStore.h"
#include "tests/support/NoFile.h"
#include "tests/support/fault/Unreadable.h"
#include "tests/task/RemovalFixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class UpdataCacheTest : public RemovalFixture {
  protected:
    static std::size_t Threads() {
        auto const threads = fs::directory_iterator("/proc/self/task");
        return static_cast<std::size_t>(std::distance(begin(threads), end(threads)));
    }
};

TEST_F(UpdataCacheTest, CurrentCacheIsKept) {
    std::string const md5 = MakeCache();
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));
    EXPECT_EQ(FindIn(*Caches().GetCache(Current(), CurrentMd5()), HString("key")).code, 2);
}

TEST_F(UpdataCacheTest, OutdatedCacheThatNoTaskUsedIsDeletedWithItsDirectory) {
    std::string const old_md5 = MakeCache();
    Edit("T1");
    std::string const new_md5 = MakeCache();
    Caches().UpdataCache();
    EXPECT_THAT(Files(root_ / "cache/template/T1"), ElementsAre(new_md5));
    EXPECT_FALSE(Caches().DeleteCache(HString(old_md5)));  // forgotten as well
}

TEST_F(UpdataCacheTest, CacheOfATemplateThatIsNoLongerDefinedIsDeleted) {
    std::string const md5 = MakeCache();
    RemoveTpl("T1");
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, OutdatedCacheLivesAsLongAsARememberedTaskNamesItsMd5) {
    std::string const md5 = MakeCache();
    ScanTask const& a = AddUser("A");
    AddUser("B");
    Edit("T1");
    MakeCache();
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));
    Registry().DelTask(a);
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));
    Registry().DelTask(*Registry().GetTask("B"));
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, CacheOfATemplateThatIsGoneLivesAsLongAsATaskNamesItsMd5) {
    std::string const md5 = MakeCache();
    ScanTask const& task = AddUser("A");
    RemoveTpl("T1");
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));
    Registry().DelTask(task);
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, TaskThatIsOverStillNamesItsMd5) {
    std::string const md5 = MakeCache();
    AddUser("A");
    Registry().UpdateTaskStatus("A", kTaskEnded);
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));
}

TEST_F(UpdataCacheTest, TasksOfAnEarlierProcessAreAskedWithoutAThread) {
    std::string const md5 = MakeCache();
    AddUser("A", {"T1"}, Writer::kNever);
    Edit("T1");
    MakeCache();
    std::size_t const threads = Threads();
    auto const files = Files(TaskPath("A"));
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));
    EXPECT_EQ(Threads(), threads);
    EXPECT_EQ(Files(TaskPath("A")), files);
    EXPECT_EQ(Registry().GetOpenedCache("A"), nullptr);
}

TEST_F(UpdataCacheTest, TaskThatUsedAnotherTemplateUnderTheMd5KeepsNothing) {
    std::string const md5 = MakeCache();
    AddUser("A", {"T2"});
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, TaskWithoutSnapshotKeepsNothing) {
    std::string const md5 = MakeCache();
    Registry().AddTask(&MakeUser("A"));
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, TaskWhoseIdIsTooLongForANameKeepsNothing) {
    std::string const md5 = MakeCache();
    AddUser("A", {"T2"}, Writer::kNever);
    Registry().AddTask(&MakeUser(std::string(300, 'x')));
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, EveryCacheIsLookedAt) {
    std::vector<std::string> old_md5s;
    for (int edit = 0; edit < 5; ++edit) {
        old_md5s.push_back(MakeCache("T1"));
        Edit("T1");
    }
    std::string const other = MakeCache("T2");
    AddUser("A");
    std::string const used = MakeCache("T1");
    Edit("T1");
    std::string const current = MakeCache("T1");
    Caches().UpdataCache();
    EXPECT_THAT(Files(root_ / "cache/template/T1"), testing::UnorderedElementsAre(used, current));
    EXPECT_TRUE(HasCache(other, "T2"));
}

TEST_F(UpdataCacheTest, CacheWithoutATemplateIsKept) {
    DLPCacheTpl* const cache = Caches().GetCache(Current(), "ABC");  // no definitions have this MD5
    ASSERT_TRUE(Exists(Dir("T1", "ABC")));
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_TRUE(Exists(Dir("T1", "ABC")));
    EXPECT_EQ(Caches().GetCache(Current(), "ABC"), cache);
}

TEST_F(UpdataCacheTest, CacheWithTwoTemplatesIsKept) {
    (void)Caches();  // its start would delete such a directory
    { DLPCacheTaskStore const both(MakeUser("A", {"T1", "T2"})); }
    HString const md5 = CurrentMd5();
    fs::create_directories(root_ / "cache/template/T1");
    fs::remove(TaskPath("A", "index"));
    fs::rename(TaskPath("A"), root_ / "cache/template/T1/" + md5.get_str());
    DLPCacheTpl* const cache = Caches().GetCache(Current(), md5);
    ASSERT_EQ(cache->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    Edit("T1");
    Edit("T2");
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5.get_str()));
    EXPECT_EQ(FindIn(*cache, HString("key")).code, 2);
}

// The history closes tasks, which shows that it was loaded.

TEST_F(UpdataCacheTest, HistoryIsNotLoadedWithoutCaches) {
    ScanTask const& probe = AddHistoryProbe();
    Caches().UpdataCache();
    EXPECT_EQ(probe.status, kTaskRunning);
}

TEST_F(UpdataCacheTest, HistoryIsNotLoadedForCurrentCaches) {
    ScanTask const& probe = AddHistoryProbe();
    MakeCache("T1");
    MakeCache("T2");
    Caches().UpdataCache();
    EXPECT_EQ(probe.status, kTaskRunning);
}

TEST_F(UpdataCacheTest, HistoryIsLoadedForAnOutdatedCache) {
    ScanTask const& probe = AddHistoryProbe();
    MakeCache();
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_EQ(probe.status, kTaskFinished);
}

// Nothing is deleted on what could not be read.

TEST_F(UpdataCacheTest, EveryCacheStaysWhileATasksSnapshotCannotBeRead) {
    std::string const md5 = MakeCache();
    AddUser("A", {"T2"}, Writer::kNever);
    Edit("T1");
    for (char const* name : {"KeywordTemplate.arc", "KeywordFormatItem.arc"}) {
        Unreadable const file(TaskPath("A", name));
        LogLines log;
        Caches().UpdataCache();
        EXPECT_TRUE(HasCache(md5)) << name;
        EXPECT_THAT(log.TakeTexts(), Contains("read task history failed, every template cache stays"));
    }
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, EveryCacheStaysWhileATasksRecordCannotBeRead) {
    std::string const md5 = MakeCache();
    {
        ScanTask& task = MakeUser("A", {"T1"});
        DLPCacheTaskStore const of_an_earlier_process(task);
        WriteRecord("A", task);
    }
    Edit("T1");
    {
        Unreadable const record(RecordPath("A"));
        Caches().UpdataCache();
        EXPECT_TRUE(HasCache(md5));
        EXPECT_TRUE(Registry().IsExistTask(""));
    }
    Caches().UpdataCache();
    EXPECT_TRUE(HasCache(md5));  // the task is known now
    ASSERT_TRUE(Registry().IsExistTask("A"));
    Registry().DelTask(*Registry().GetTask("A"));
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(UpdataCacheTest, TaskOfADamagedRecordIsForgotten) {
    std::string const md5 = MakeCache();
    WriteFile("A", "ScanTask.arc", "damaged");
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
    EXPECT_THAT(Files(TaskPath("A")), ElementsAre("ScanTask.arc"));
}

// What stands in a file's place but is none is not waited for.
class UpdataCacheNoFileTest : public UpdataCacheTest, public testing::WithParamInterface<char const*> {
  protected:
    // In place of a task's file; a link names what was there.
    void PutInPlaceOf(std::string const& name, std::string const& file) const {
        std::string const path = TaskPath(name, file);
        fs::create_directories(TaskPath(name));
        if (Exists(path)) fs::rename(path, root_ / "target");
        PutNoFile(GetParam(), path, root_ / "target");
    }
};
INSTANTIATE_TEST_SUITE_P(Kinds, UpdataCacheNoFileTest, testing::ValuesIn(kNoFiles));

TEST_P(UpdataCacheNoFileTest, TaskWhoseRecordIsNoFileIsForgotten) {
    NotSound();
    std::string const md5 = MakeCache();
    PutInPlaceOf("A", "ScanTask.arc");
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_FALSE(HasCache(md5));
    EXPECT_THAT(Files(TaskPath("A")), ElementsAre("ScanTask.arc"));
}

TEST_P(UpdataCacheNoFileTest, TaskWhoseSnapshotIsNoFileKeepsNothing) {
    NotSound();
    for (char const* name :
         {"KeywordTemplate.arc", "KeywordFormatItem.arc", "KeywordDataClass.arc", "KeywordDataLevel.arc"}) {
        std::string const md5 = MakeCache();
        AddUser(name, {"T1"}, Writer::kNever);
        PutInPlaceOf(name, name);
        Edit("T1");
        Caches().UpdataCache();
        EXPECT_FALSE(HasCache(md5)) << name;
    }
}

TEST_F(UpdataCacheTest, SecondReadingOfTheRecordsLeavesRegisteredObjectsInPlace) {
    MakeCache();
    WriteFile("X", "ScanTask.arc", "");
    Unreadable const record(RecordPath("X"));
    ScanTask const& task = AddUser("A");
    Edit("T1");
    Caches().UpdataCache();
    EXPECT_EQ(Registry().GetTask("A"), &task);
}

TEST_F(UpdataCacheTest, NothingIsPrunedInAnEmptyManager) {
    Caches().UpdataCache();
    EXPECT_THAT(Files(root_ / "cache/template"), IsEmpty());
}

}  // namespace
