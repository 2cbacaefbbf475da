#include "template/DLPCacheTplMgr.h"

#include <filesystem>

#include "host/policy/KwDefineMgr.h"
#include "tests/support/OnAllThreads.h"
#include "tests/template/TplFixture.h"
#include "tests/template/TplLogLines.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class DLPCacheTplMgrTest : public TplFixture {
  protected:
    DLPCacheTplMgrTest() {
        // A manager wipes a root without a current version stamp, so the stamp comes before anything else.
        DLPCacheTplMgr const stamped;
    }

    // The answer to one key, kept by a manager that is gone again.
    void Prepare() {
        DLPCacheTplMgr manager;
        DLPCacheTpl* const cache = manager.GetCache(Current(), CurrentMd5());
        ASSERT_NE(cache, nullptr);
        ASSERT_EQ(cache->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    }
    static int FindOne(DLPCacheTplMgr& manager) {
        return FindIn(*manager.GetCache(Current(), CurrentMd5()), HString("key")).code;
    }
    std::string TplPath(std::string const& below = "") const { return root_ / "cache/template/" + below; }
    // A directory with a snapshot of `templates` alone.
    std::string MakeSnapshot(std::vector<QVKConfigKeywordTemplateNode> const& templates) const {
        std::string const directory = TplPath("T1/ABC/");
        fs::create_directories(directory);
        QVKConfigKeywordTemplateVT table;
        table.nodes = templates;
        EXPECT_EQ(table.to_file(directory + "KeywordTemplate.arc"), 0);
        return directory;
    }
};

TEST_F(DLPCacheTplMgrTest, PinsIsOneInstance) {
    DLPCacheTplMgr* const first = DLPCacheTplMgr::pins();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(DLPCacheTplMgr::pins(), first);
}

TEST_F(DLPCacheTplMgrTest, PinsIsOneInstanceForAllThreads) {
    auto const seen = AskOnAllThreads(8, [] { return DLPCacheTplMgr::pins(); });
    EXPECT_THAT(seen, testing::Each(DLPCacheTplMgr::pins()));
}

using UnstampedTest = TplFixture;

TEST_F(UnstampedTest, ManagerWipesARootWithoutACurrentStamp) {
    ASSERT_EQ(Open()->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    DLPCacheTplMgr manager;
    EXPECT_TRUE(Exists(root_ / "cache/Version.ini"));
    EXPECT_FALSE(Exists(root_ / "cache/template"));
    EXPECT_EQ(FindIn(*manager.GetCache(Current(), CurrentMd5()), HString("key")).code, 0);
}

TEST_F(DLPCacheTplMgrTest, SameMd5IsTheSameCache) {
    DLPCacheTplMgr manager;
    DLPCacheTpl* const cache = manager.GetCache(Current(), CurrentMd5());
    ASSERT_NE(cache, nullptr);
    EXPECT_EQ(manager.GetCache(Current(), CurrentMd5()), cache);
}

TEST_F(DLPCacheTplMgrTest, OtherMd5IsASecondCacheInASiblingDirectory) {
    DLPCacheTplMgr manager;
    HString const old_md5 = CurrentMd5();
    DLPCacheTpl* const old_cache = manager.GetCache(Current(), old_md5);
    Rule(0).rule_text = "edited";
    Install();
    EXPECT_NE(manager.GetCache(Current(), CurrentMd5()), old_cache);
    EXPECT_THAT(Files(TplPath("T1")), testing::UnorderedElementsAre(old_md5.get_str(), CurrentMd5().get_str()));
    EXPECT_THAT(Files(Dir()), Contains("index"));
}

TEST_F(DLPCacheTplMgrTest, CacheForAnOutOfDateMd5IsGivenWithoutStore) {
    DLPCacheTplMgr manager;
    DLPCacheTpl* const cache = manager.GetCache(Current(), "ABC");
    ASSERT_NE(cache, nullptr);
    EXPECT_EQ(FindIn(*cache, HString("key")).code, -2);
}

TEST_F(DLPCacheTplMgrTest, CacheAskedForTooEarlyHasAStoreWhenItsDefinitionsComeBack) {
    DLPCacheTplMgr manager;
    QVKConfigKeywordTemplateNode const tpl = Current();
    HString const md5 = CurrentMd5();
    HString const text = Rule(0).rule_text;
    Rule(0).rule_text = "edited";
    Install();
    DLPCacheTpl* const cache = manager.GetCache(tpl, md5);
    ASSERT_EQ(FindIn(*cache, HString("key")).code, -2);
    Rule(0).rule_text = text;
    Install();
    ASSERT_EQ(manager.GetCache(Current(), md5), cache);
    EXPECT_EQ(cache->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    EXPECT_EQ(FindIn(*cache, HString("key")).code, 2);
}

TEST_F(DLPCacheTplMgrTest, CacheWhosePlaceWasTakenHasAStoreOnceItIsFree) {
    DLPCacheTplMgr manager;
    std::filesystem::create_directories(TplPath("T1"));
    std::string const place = TplPath("T1") + "/" + CurrentMd5().get_str();
    WriteBytes(place, "in the way");
    DLPCacheTpl* const cache = manager.GetCache(Current(), CurrentMd5());
    ASSERT_EQ(FindIn(*cache, HString("key")).code, -2);
    std::filesystem::remove(place);
    ASSERT_EQ(manager.GetCache(Current(), CurrentMd5()), cache);
    EXPECT_EQ(FindIn(*cache, HString("key")).code, 0);
}

TEST_F(DLPCacheTplMgrTest, CachesAreFoundAgainAtStart) {
    Prepare();
    DLPCacheTplMgr manager;
    EXPECT_EQ(FindOne(manager), 2);
}

TEST_F(DLPCacheTplMgrTest, CacheFoundAtStartIsUsableWithoutCurrentDefinitions) {
    Prepare();
    QVKConfigKeywordTemplateNode const tpl = Current();
    HString const md5 = CurrentMd5();
    definitions_ = KwDefinitions();
    Install();
    DLPCacheTplMgr manager;
    EXPECT_EQ(FindIn(*manager.GetCache(tpl, md5), HString("key")).code, 2);
}

TEST_F(DLPCacheTplMgrTest, CachesOfHostileIdsAreFoundAgainAtStart) {
    for (char const* id : {"../x", "", "a/b", ".", "%", "T 1 {ä}"}) {
        Tpl().common->id = id;
        Install();
        auto const* tpl = KwDefineMgr::pins()->get_tpl_by_id(id);
        HString const md5 = KwDefineMgr::pins()->get_md5_by_tpl(*tpl);
        DLPCacheTplMgr().GetCache(*tpl, md5)->Add(HString("key"), TwoItems(), MakeText("text"), "name");
        fs::remove(root_ / "ini/DLPService.ini");  // an index made now would be of another size
        DLPCacheTplMgr manager;
        SetBucketCount("101");
        EXPECT_EQ(FindIn(*manager.GetCache(*tpl, md5), HString("key")).code, 2) << id;
    }
}

TEST_F(DLPCacheTplMgrTest, EmptyTemplateDirectoryIsRemovedAtStart) {
    fs::create_directories(TplPath("T9"));
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath()), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, EmptyMd5DirectoryIsRemovedAtStart) {
    Prepare();
    fs::create_directories(TplPath("T1/ABC"));
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), ElementsAre(CurrentMd5().get_str()));
}

TEST_F(DLPCacheTplMgrTest, DirectoryWithoutTemplateFileIsDeletedAtStart) {
    Prepare();
    fs::remove(Dir() + "KeywordTemplate.arc");
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, SnapshotWithoutTemplatesIsDeletedAtStart) {
    MakeSnapshot({});
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, SnapshotWithTwoTemplatesIsDeletedAtStart) {
    MakeSnapshot({MakeTpl("T1", {}), MakeTpl("T2", {})});
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, DamagedTemplateFileIsDeletedAtStart) {
    Prepare();
    WriteBytes(Dir() + "KeywordTemplate.arc", "damaged");
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, DamagedRuleFileIsDeletedAtStart) {
    Prepare();
    WriteBytes(Dir() + "KeywordFormatItem.arc", "damaged");
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, DamagedDataLevelFileKeepsTheCache) {
    Prepare();
    WriteBytes(Dir() + "KeywordDataLevel.arc", "damaged");
    auto const before = Files(Dir());
    DLPCacheTplMgr const manager;
    EXPECT_EQ(Files(Dir()), before);
}

TEST_F(DLPCacheTplMgrTest, OnlyACacheDirectoryIsEverDeleted) {
    Prepare();
    auto const before = Files(Dir());
    fs::create_directories(root_ / "home");
    WriteBytes(root_ / "home/letter", "x");
    DLPCacheTplMgr manager;
    std::string const top = TplPath();
    for (std::string const& path :
         {top + "T1/../../../home/", top + "T1/", top + "T1/../T1/", top, top + "T1/ABC/../", std::string("/"),
          std::string(), root_ / "home", fs::path(Dir()).parent_path().string()})
        manager.InitTplMD5(HString(path));
    EXPECT_TRUE(Exists(root_ / "home/letter"));
    EXPECT_EQ(Files(Dir()), before);
}

TEST_F(DLPCacheTplMgrTest, NothingBehindASymbolicLinkIsDeleted) {
    NotSound();
    Prepare();
    std::string const directory = Dir();
    DLPCacheTplMgr manager;
    fs::create_directories(root_ / "home");
    WriteBytes(root_ / "home/KeywordTemplate.arc", "x");
    std::string const link = directory.substr(0, directory.size() - 1);
    fs::remove_all(link);
    fs::create_directory_symlink(root_ / "home", link);
    manager.InitTplMD5(HString(directory));
    EXPECT_TRUE(Exists(root_ / "home/KeywordTemplate.arc"));
    manager.DeleteCache(CurrentMd5());
    EXPECT_TRUE(Exists(root_ / "home/KeywordTemplate.arc"));
}

TEST_F(DLPCacheTplMgrTest, NothingBehindALinkedTemplateDirectoryIsDeleted) {
    NotSound();
    Prepare();
    DLPCacheTplMgr manager;
    fs::rename(TplPath("T1"), root_ / "home");
    fs::create_directory_symlink(root_ / "home", TplPath("T1"));
    std::string const template_file = Dir() + "KeywordTemplate.arc";
    ASSERT_TRUE(Exists(template_file));
    EXPECT_TRUE(manager.DeleteCache(CurrentMd5()));
    EXPECT_TRUE(Exists(template_file));
}

TEST_F(DLPCacheTplMgrTest, DeleteCacheWhoseDirectoryIsGoneIsNoFailure) {
    DLPCacheTplMgr manager;
    ASSERT_NE(manager.GetCache(Current(), CurrentMd5()), nullptr);
    fs::remove_all(TplPath("T1"));
    LogLines log;
    EXPECT_TRUE(manager.DeleteCache(CurrentMd5()));
    EXPECT_THAT(TakeOwn(log), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, CacheOpenedASecondTimeRetiresTheFirst) {
    DLPCacheTplMgr manager;
    DLPCacheTpl* const first = manager.GetCache(Current(), CurrentMd5());
    manager.InitTplMD5(HString(Dir()));
    EXPECT_NE(manager.GetCache(Current(), CurrentMd5()), first);
    EXPECT_LT(first->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 0);
    EXPECT_EQ(FindOne(manager), 0);
}

TEST_F(DLPCacheTplMgrTest, DirectoryInTheTemplateFilesPlaceIsDeletedAtStart) {
    fs::create_directories(TplPath("T1/ABC/KeywordTemplate.arc/deep"));
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
}

TEST_F(DLPCacheTplMgrTest, WhatCannotBeReadStays) {
    NotSound();
    Prepare();
    auto const before = Files(Dir());
    for (char const* name : {"KeywordTemplate.arc", "KeywordDataLevel.arc"}) {
        fs::remove(Dir() + name);
        fs::create_symlink("/dev/null", Dir() + name);  // ELOOP
        LogLines log;
        DLPCacheTplMgr manager;
        EXPECT_THAT(TakeOwn(log), Contains(testing::StartsWith("1 973 read template cache failed, errno: ")));
        EXPECT_EQ(Files(Dir()), before);
    }
}

TEST_F(DLPCacheTplMgrTest, SymbolicLinksAreLeftAloneAtStart) {
    NotSound();
    Prepare();
    fs::create_directories(root_ / "elsewhere/ABC");
    fs::create_directory_symlink(root_ / "elsewhere", TplPath("T2"));
    fs::create_directory_symlink(root_ / "elsewhere/ABC", TplPath("T1/DEF"));
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(root_ / "elsewhere"), ElementsAre("ABC"));
    EXPECT_TRUE(Exists(TplPath("T2")));
    EXPECT_TRUE(Exists(TplPath("T1/DEF")));
}

TEST_F(DLPCacheTplMgrTest, ForeignNamesAndFilesAreLeftAloneAtStart) {
    fs::create_directories(TplPath(".hidden/ABC"));
    fs::create_directories(TplPath("T1/%zz/ABC"));
    WriteBytes(TplPath("file"), "");
    WriteBytes(TplPath("T1/file"), "");
    DLPCacheTplMgr const manager;
    EXPECT_THAT(Files(TplPath()), ElementsAre(".hidden", "T1", "file"));
    EXPECT_THAT(Files(TplPath("T1")), ElementsAre("%zz", "file"));
}

TEST_F(DLPCacheTplMgrTest, SnapshotUnderAnotherNameMakesACacheUnderItsOwn) {
    NotSound();
    Prepare();
    fs::copy(Dir(), TplPath("T1/ABC"));
    DLPCacheTplMgr manager;
    EXPECT_EQ(FindOne(manager), 2);
}

TEST_F(DLPCacheTplMgrTest, OnlyTheTemplatePathIsEverDeletedIn) {
    fs::create_directories(root_ / "cache/other");
    WriteBytes(root_ / "cache/other/file", "");
    DLPCacheTplMgr manager;
    for (std::string const& path : {root_ / "cache/other/", root_ / "cache/", TplPath()})
        manager.InitTplMD5(path);
    EXPECT_TRUE(Exists(root_ / "cache/other/file"));
}

TEST_F(DLPCacheTplMgrTest, InitTplOfAnUnknownIdDoesNothing) {
    DLPCacheTplMgr manager;
    manager.InitTpl("unknown");
    manager.InitTpl("../../..");
    EXPECT_THAT(Files(root_.Path()), ElementsAre("cache", "ini"));
}

TEST_F(DLPCacheTplMgrTest, DeleteCacheRemovesTheDirectoryAndForgetsTheCache) {
    DLPCacheTplMgr manager;
    DLPCacheTpl* const cache = manager.GetCache(Current(), CurrentMd5());
    ASSERT_EQ(cache->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    EXPECT_TRUE(manager.DeleteCache(CurrentMd5()));
    EXPECT_THAT(Files(TplPath("T1")), IsEmpty());
    EXPECT_FALSE(manager.DeleteCache(CurrentMd5()));
    EXPECT_EQ(FindIn(*cache, HString("key")).code, -3);  // a pointer handed out before stays valid
    EXPECT_NE(manager.GetCache(Current(), CurrentMd5()), cache);
    EXPECT_EQ(FindOne(manager), 0);
}

TEST_F(DLPCacheTplMgrTest, ForgottenCacheDoesNotTouchTheFilesOfItsSuccessor) {
    DLPCacheTplMgr manager;
    DLPCacheTpl* const old = manager.GetCache(Current(), CurrentMd5());
    ASSERT_EQ(old->Add(HString("old"), TwoItems(), MakeText("text"), "name"), 1);
    ASSERT_TRUE(manager.DeleteCache(CurrentMd5()));
    DLPCacheTpl* const fresh = manager.GetCache(Current(), CurrentMd5());
    EXPECT_NE(fresh, old);
    EXPECT_LT(old->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 0);
    EXPECT_LT(old->Add(HString("key"), QVKReportKeywordAttachNode(), QVKKeywordText(), "name"), 0);
    EXPECT_LT(FindIn(*old, HString("old")).code, 0);
    EXPECT_EQ(FindIn(*fresh, HString("old")).code, 0);
    EXPECT_EQ(FindIn(*fresh, HString("key")).code, 0);
    EXPECT_EQ(fresh->Add(HString("key"), TwoItems(), MakeText("text"), "name"), 1);
    EXPECT_EQ(FindOne(manager), 2);
}

TEST_F(DLPCacheTplMgrTest, DeleteCacheOfAnUnknownMd5ChangesNothing) {
    Prepare();
    DLPCacheTplMgr manager;
    EXPECT_FALSE(manager.DeleteCache("unknown"));
    EXPECT_EQ(FindOne(manager), 2);
}

TEST_F(DLPCacheTplMgrTest, DeleteCacheOutsideTheTemplatePathIsRefused) {
    Prepare();
    DLPCacheTplMgr manager;
    DLPCacheTpl* const cache = manager.GetCache(Current(), CurrentMd5());
    std::string const directory = Dir();
    {
        TempRoot const other;
        EXPECT_FALSE(manager.DeleteCache(CurrentMd5()));
    }
    EXPECT_TRUE(Exists(directory + "index"));
    EXPECT_EQ(manager.GetCache(Current(), CurrentMd5()), cache);
}

TEST_F(DLPCacheTplMgrTest, RefusedDirectoryIsLogged) {
    std::string const directory = Dir();
    DLPCacheTplMgr manager;
    ASSERT_NE(manager.GetCache(Current(), CurrentMd5()), nullptr);
    TempRoot const other;
    LogLines log;
    EXPECT_FALSE(manager.DeleteCache(CurrentMd5()));
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 1047 Cache dir error! dir " + directory));
}

}  // namespace
