// How a template cache is opened and made.
#include <sys/stat.h>

#include <filesystem>

#include "host/base/LocateMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "tests/template/TplFixture.h"
#include "tests/template/TplLogLines.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class DLPCacheTplOpenTest : public TplFixture {
  protected:
    static int AddOne(DLPCacheTpl const& cache) {
        return cache.Add(HString("key"), TwoItems(), MakeText("text"), "name");
    }
    static int FindOne(DLPCacheTpl const& cache) { return FindIn(cache, HString("key")).code; }
    // A cache that holds an answer, closed again.
    void Prepare() { ASSERT_EQ(AddOne(*Open()), 1); }
    static mode_t ModeOf(std::string const& path) {
        struct stat status {};
        return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
    }
};

TEST_F(DLPCacheTplOpenTest, MakesSnapshotAndIndexInItsDirectory) {
    auto const cache = Open();
    EXPECT_THAT(Files(Dir()), ElementsAre("KeywordDataClass.arc", "KeywordDataLevel.arc", "KeywordFormatItem.arc",
                                          "KeywordTemplate.arc", "index"));
    EXPECT_EQ(fs::file_size(Dir() + "index"), 27U + 101U * 57U);
    AddOne(*cache);
    EXPECT_THAT(Files(Dir()), Contains("cache"));
}

TEST_F(DLPCacheTplOpenTest, DirectoriesAndFilesAreTheOwnersAlone) {
    mode_t const before = umask(0);
    AddOne(*Open());
    umask(before);
    EXPECT_EQ(ModeOf(root_ / "cache/template"), 0700U);
    EXPECT_EQ(ModeOf(root_ / "cache/template/T1"), 0700U);
    EXPECT_EQ(ModeOf(fs::path(Dir()).parent_path()), 0700U);
    for (std::string const& name : Files(Dir()))
        EXPECT_EQ(ModeOf(Dir() + name), 0600U) << name;
}

TEST_F(DLPCacheTplOpenTest, BucketCountComesFromTheSetting) {
    LogLines log;
    Open();
    EXPECT_THAT(TakeOwn(log), ElementsAre("3 702 init dlp template cache, read bucket size success. use define "
                                          "INDEX_BUCKET_DEFAULT_SIZE=101, id: T1"));
}

TEST_F(DLPCacheTplOpenTest, AbsentBucketCountIsTheDefault) {
    WriteBytes(root_ / "ini/DLPService.ini", "[DLPCache]\nother=1\n");
    LogLines log;
    Open();
    EXPECT_THAT(TakeOwn(log), ElementsAre("2 707 init dlp template cache, read bucket size failed. use default "
                                          "INDEX_BUCKET_DEFAULT_SIZE=500000, id: T1"));
    EXPECT_EQ(fs::file_size(Dir() + "index"), 27U + 500000U * 57U);
}

TEST_F(DLPCacheTplOpenTest, AbsentSettingsFileGivesTheDefault) {
    fs::remove(root_ / "ini/DLPService.ini");
    LogLines log;
    Open();
    EXPECT_THAT(TakeOwn(log), ElementsAre("2 707 init dlp template cache, read bucket size failed. use default "
                                          "INDEX_BUCKET_DEFAULT_SIZE=500000, id: T1"));
}

TEST_F(DLPCacheTplOpenTest, BucketCountThatIsNoNumberGivesTheDefault) {
    SetBucketCount("12x");
    Open();
    EXPECT_EQ(fs::file_size(Dir() + "index"), 27U + 500000U * 57U);
}

TEST_F(DLPCacheTplOpenTest, BucketCountThatTheIndexRefusesLeavesNoIndex) {
    SetBucketCount("5000001");
    auto const cache = Open();
    EXPECT_EQ(FindOne(*cache), -3);
    EXPECT_EQ(AddOne(*cache), -3);
    EXPECT_THAT(Files(Dir()), testing::Not(Contains("index")));
}

TEST_F(DLPCacheTplOpenTest, BucketCountOfZeroMakesAnIndexWithoutRoom) {
    SetBucketCount("0");
    EXPECT_EQ(FindOne(*Open()), -12);
}

TEST_F(DLPCacheTplOpenTest, AnswersSurviveReopening) {
    Prepare();
    Found const found = FindIn(*Open(), HString("key"));
    EXPECT_EQ(found.code, 2);
    EXPECT_EQ(found.text, MakeText("text"));
    EXPECT_EQ(found.node.items[1].rule_name, "name of R2");
}

TEST_F(DLPCacheTplOpenTest, AnswersSurviveReopeningWithoutCurrentDefinitions) {
    Prepare();
    QVKConfigKeywordTemplateNode const tpl = Current();
    HString const md5 = CurrentMd5();
    definitions_ = KwDefinitions();
    Install();
    EXPECT_EQ(FindOne(DLPCacheTpl(tpl, md5)), 2);
}

TEST_F(DLPCacheTplOpenTest, NewBucketCountDoesNotTouchAnExistingIndex) {
    Prepare();
    SetBucketCount("7");
    EXPECT_EQ(FindOne(*Open()), 2);
    EXPECT_EQ(fs::file_size(Dir() + "index"), 27U + 101U * 57U);
}

TEST_F(DLPCacheTplOpenTest, Md5OfAnotherStateGivesNoStore) {
    DLPCacheTpl const cache(Current(), "ABC");
    EXPECT_EQ(FindOne(cache), -2);
    EXPECT_THAT(Files(Dir("T1", "ABC")), IsEmpty());
    EXPECT_TRUE(Exists(Dir("T1", "ABC")));
}

TEST_F(DLPCacheTplOpenTest, EditedRuleMakesTheOldMd5OutOfDate) {
    QVKConfigKeywordTemplateNode const copy = Current();
    HString const old_md5 = CurrentMd5();
    Rule(0).rule_text = "edited";
    Install();
    EXPECT_EQ(FindOne(DLPCacheTpl(copy, old_md5)), -2);
    EXPECT_EQ(FindOne(*Open()), 0);
}

// Who holds the record from before the replacement asks for a cache of its time.
TEST_F(DLPCacheTplOpenTest, RecordOfEarlierDefinitionsMakesItsSnapshotFromThem) {
    QVKConfigKeywordTemplateNode const& held = Current();
    HString const old_md5 = CurrentMd5();
    Rule(0).rule_text = "edited";
    Install();
    ASSERT_NE(CurrentMd5(), old_md5);
    DLPCacheTpl const cache(held, old_md5);
    EXPECT_EQ(AddOne(cache), 1);
    auto const found = FindIn(cache, HString("key"));
    EXPECT_EQ(found.code, 2);
    EXPECT_NE(found.node.items[0].rule_text, "edited");
    EXPECT_EQ(FindOne(DLPCacheTpl(Current(), old_md5)), 2);  // the snapshot on disk has the old MD5 too
}

TEST_F(DLPCacheTplOpenTest, SnapshotOfAnotherStateIsReplaced) {
    Prepare();
    std::string const old_dir = Dir();
    Rule(0).rule_text = "edited";
    Install();
    fs::rename(old_dir, Dir());
    auto const cache = Open();
    EXPECT_EQ(FindOne(*cache), 0);
    EXPECT_EQ(AddOne(*cache), 1);
    EXPECT_EQ(FindIn(*cache, HString("key")).node.items[0].rule_text, "edited");
}

TEST_F(DLPCacheTplOpenTest, SnapshotOfAnotherStateIsDeletedAlsoWhenTheMd5IsOutOfDate) {
    Prepare();
    std::string const old_dir = Dir();
    fs::rename(old_dir, Dir("T1", "ABC"));
    EXPECT_EQ(FindOne(DLPCacheTpl(Current(), "ABC")), -2);
    EXPECT_THAT(Files(Dir("T1", "ABC")), IsEmpty());
}

class DamagedSnapshotTest : public DLPCacheTplOpenTest, public testing::WithParamInterface<char const*> {};
INSTANTIATE_TEST_SUITE_P(Files, DamagedSnapshotTest,
                         testing::Values("KeywordTemplate.arc", "KeywordFormatItem.arc", "KeywordDataClass.arc",
                                         "KeywordDataLevel.arc"),
                         [](auto const& test) { return std::filesystem::path(test.param).stem().string(); });

// Names, classes and levels come from the current definitions: only what decides the MD5 costs the answers.
TEST_P(DamagedSnapshotTest, IsReplacedWhenItDecidesTheMd5) {
    std::string const file = GetParam();
    bool const decides = file == "KeywordTemplate.arc" || file == "KeywordFormatItem.arc";
    Prepare();
    std::string bytes = ReadBytes(Dir() + GetParam());
    bytes[bytes.size() / 2] ^= 1;
    WriteBytes(Dir() + GetParam(), bytes);
    auto const cache = Open();
    if (decides) {
        EXPECT_EQ(FindOne(*cache), 0);
        EXPECT_EQ(AddOne(*cache), 1);
    }
    EXPECT_EQ(FindOne(*Open()), 2);
}

TEST_P(DamagedSnapshotTest, ThatCannotBeReadIsLeftAlone) {
    NotSound();
    Prepare();
    fs::remove(Dir() + GetParam());
    fs::create_symlink("/dev/null", Dir() + GetParam());  // ELOOP for root, too
    auto const before = Files(Dir());
    EXPECT_EQ(FindOne(*Open()), -2);
    EXPECT_EQ(Files(Dir()), before);
}

TEST_F(DLPCacheTplOpenTest, InitAgainOpensTheSameStore) {
    Prepare();
    auto const cache = Open();
    cache->Init(Current(), CurrentMd5());
    EXPECT_EQ(FindOne(*cache), 2);
}

TEST_F(DLPCacheTplOpenTest, InitAfterAnOutdatedSnapshotKeepsAnswers) {
    Prepare();
    std::string const dir = Dir();
    fs::copy(dir, Dir("T1", "ABC"));
    DLPCacheTpl cache(Current(), "ABC");
    EXPECT_EQ(FindOne(cache), -2);
    cache.Init(Current(), CurrentMd5());
    EXPECT_EQ(FindOne(cache), 2);
}

TEST_F(DLPCacheTplOpenTest, SnapshotWithoutTheTemplateIsReplaced) {
    Prepare();
    std::string const t1 = Dir();
    definitions_.templates.nodes.push_back(MakeTpl("T2", {"R1", "R2"}));
    Install();
    auto const* t2 = KwDefineMgr::pins()->get_tpl_by_id("T2");
    HString const md5 = KwDefineMgr::pins()->get_md5_by_tpl(*t2);
    DLPCacheTpl const made(*t2, md5);
    fs::copy_file(Dir("T2", md5.get_str()) + "KeywordTemplate.arc", t1 + "KeywordTemplate.arc",
                  fs::copy_options::overwrite_existing);
    EXPECT_EQ(FindOne(*Open()), 0);
}

TEST_F(DLPCacheTplOpenTest, IncompleteDirectoryIsMadeAnew) {
    Prepare();
    fs::remove(Dir() + "KeywordTemplate.arc");
    WriteBytes(Dir() + "KeywordFormatItem.arc", "half");
    fs::create_directories(Dir() + "foreign/deep");
    auto const cache = Open();
    EXPECT_EQ(FindOne(*cache), 0);
    EXPECT_EQ(AddOne(*cache), 1);
    EXPECT_THAT(Files(Dir()), testing::Not(Contains("foreign")));
}

TEST_F(DLPCacheTplOpenTest, IndexThatLostItsDataFileTellsNoAnswersOfOtherFiles) {
    Prepare();
    fs::remove(Dir() + "KeywordTemplate.arc");
    fs::remove(Dir() + "cache");
    auto const cache = Open();
    ASSERT_EQ(cache->Add(HString("other"), TwoItems(), MakeText("text"), "name"), 1);
    EXPECT_EQ(FindOne(*cache), 0);
}

TEST_F(DLPCacheTplOpenTest, SnapshotHoldsWhatTheTemplateDependsOnAndNoMore) {
    definitions_.templates.nodes.push_back(MakeTpl("T2", {"R3"}));
    definitions_.rules.nodes.push_back(MakeRule("R3", 1001));
    definitions_.data_classes.nodes.emplace_back().common->id = "C2";
    Tpl().rule_ids = {"R2", "R1", "R2", "R9"};
    Install();
    auto const cache = Open();
    KwDefineMgr const& snapshot = *cache->definitions();
    ASSERT_NE(snapshot.get_tpl_by_id("T1"), nullptr);
    EXPECT_EQ(snapshot.get_tpl_by_id("T2"), nullptr);
    EXPECT_NE(snapshot.get_rule_by_id("R1"), nullptr);
    EXPECT_NE(snapshot.get_rule_by_id("R2"), nullptr);
    EXPECT_EQ(snapshot.get_rule_by_id("R3"), nullptr);
    EXPECT_NE(snapshot.get_data_class_by_id("C1"), nullptr);
    EXPECT_EQ(snapshot.get_data_class_by_id("C2"), nullptr);
    EXPECT_NE(snapshot.get_data_level_by_id("L1"), nullptr);
    EXPECT_EQ(AddOne(*cache), 1);
}

TEST_F(DLPCacheTplOpenTest, MissingClassAndLevelAreLoggedAndLeftOut) {
    Tpl().data_class_id = "C9";
    Tpl().data_level_id = "L9";
    Install();
    LogLines log;
    auto const cache = Open();
    EXPECT_THAT(TakeOwn(log), ElementsAre(testing::HasSubstr(" 702 "), "1 795 defect config keyword data class, id: C9",
                                          "1 814 defect config keyword data level, id: L9"));
    EXPECT_EQ(AddOne(*cache), 1);
}

TEST_F(DLPCacheTplOpenTest, SymbolicLinkInItsPlaceIsNotFollowed) {
    NotSound();
    fs::create_directories(root_ / "elsewhere");
    fs::create_directories(root_ / "cache/template/T1");
    fs::create_directory_symlink(root_ / "elsewhere", root_ / "cache/template/T1/" + CurrentMd5().get_str());
    EXPECT_EQ(FindOne(*Open()), -2);
    EXPECT_THAT(Files(root_ / "elsewhere"), IsEmpty());
}

TEST_F(DLPCacheTplOpenTest, SymbolicLinkInTheTemplatesPlaceIsNotFollowed) {
    NotSound();
    fs::create_directories(root_ / "elsewhere");
    fs::create_directories(root_ / "cache/template");
    fs::create_directory_symlink(root_ / "elsewhere", root_ / "cache/template/T1");
    EXPECT_EQ(FindOne(*Open()), -2);
    EXPECT_THAT(Files(root_ / "elsewhere"), IsEmpty());
}

TEST_F(DLPCacheTplOpenTest, FileInItsPlaceGivesNoStore) {
    fs::create_directories(root_ / "cache/template/T1");
    WriteBytes(root_ / "cache/template/T1/" + CurrentMd5().get_str(), "a file");
    EXPECT_EQ(FindOne(*Open()), -2);
    EXPECT_EQ(ReadBytes(root_ / "cache/template/T1/" + CurrentMd5().get_str()), "a file");
}

struct HostileName {
    char const* name;  // of the case
    char const* id;
    char const* directory;
};
class HostileIdTest : public DLPCacheTplOpenTest, public testing::WithParamInterface<HostileName> {};
INSTANTIATE_TEST_SUITE_P(Ids, HostileIdTest,
                         testing::Values(HostileName{"Climbing", "../x", "%2E.%2Fx"}, HostileName{"Empty", "", "%"},
                                         HostileName{"WithSeparator", "a/b", "a%2Fb"}, HostileName{"Dot", ".", "%2E"},
                                         HostileName{"DotDot", "..", "%2E."}, HostileName{"Absolute", "/etc", "%2Fetc"},
                                         HostileName{"WithLineEnd", "a\n", "a%0A"}, HostileName{"Percent", "%", "%25"}),
                         [](auto const& test) { return std::string(test.param.name); });

TEST_P(HostileIdTest, TemplateStaysInADirectoryOfItsOwn) {
    Tpl().common->id = GetParam().id;
    Install();
    auto const* tpl = KwDefineMgr::pins()->get_tpl_by_id(GetParam().id);
    DLPCacheTpl const cache(*tpl, KwDefineMgr::pins()->get_md5_by_tpl(*tpl));
    EXPECT_EQ(AddOne(cache), 1);
    EXPECT_EQ(FindOne(cache), 2);
    EXPECT_THAT(Files(root_ / "cache/template"), ElementsAre(GetParam().directory));
    EXPECT_THAT(Files(root_ / "cache"), ElementsAre("template"));
    EXPECT_THAT(Files(root_.Path()), ElementsAre("cache", "ini"));
}

TEST_P(HostileIdTest, Md5StaysInADirectoryOfItsOwn) {
    EXPECT_EQ(FindOne(DLPCacheTpl(Current(), GetParam().id)), -2);
    EXPECT_THAT(Files(root_ / "cache/template/T1"), ElementsAre(GetParam().directory));
    EXPECT_THAT(Files(root_.Path()), ElementsAre("cache", "ini"));
}

TEST_F(DLPCacheTplOpenTest, IdLongerThanAFileNameGivesNoStore) {
    EXPECT_EQ(FindOne(DLPCacheTpl(MakeTpl(std::string(300, 'x'), {}), "ABC")), -2);
    EXPECT_EQ(FindOne(DLPCacheTpl(Current(), std::string(300, 'x'))), -2);
    EXPECT_THAT(Files(root_ / "cache/template"), ElementsAre("T1"));
}

}  // namespace
