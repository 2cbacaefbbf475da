#include "task/DLPCacheTaskStore.h"

#include <climits>
#include <filesystem>

#include "host/policy/KwDefineMgr.h"
#include "tests/task/StoreFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class DLPCacheTaskStoreTest : public StoreFixture {
  protected:
    static SensFile Numbered(std::string const& path, int sn) {
        SensFile file = MakeFile(path);
        file.sn = sn;
        return file;
    }
    // The archive of an empty table with this tag in place of one in the task's directory.
    void Damage(char const* name) { WriteBytes(Dir() + name, "damaged"); }
};

TEST_F(DLPCacheTaskStoreTest, FileIsFoundAsItWasStoredWithWhatTheDefinitionsSay) {
    auto const store = OpenStore();
    EXPECT_EQ(store.Add(Numbered("/a", 1)), 1);
    FoundFile const found = FindIn(store, 1);
    EXPECT_EQ(found.code, 2);
    EXPECT_EQ(found.file, Stored("/a", 1));
}

TEST_F(DLPCacheTaskStoreTest, FileWithoutTemplatesPathOrMd5IsRefusedAndNothingWritten) {
    auto const store = OpenStore();
    auto const files = Files(Dir());
    std::string const index = ReadBytes(Dir() + "index");
    for (int field = 0; field < 3; ++field) {
        SensFile file = Numbered("/a", 1);
        if (field == 0) file.tpl_ids.clear();
        if (field == 1) file.file_path.clear();
        if (field == 2) file.file_md5.clear();
        EXPECT_EQ(DLPCacheTaskStore::Check(file), -15) << field;
        LogLines log;
        EXPECT_EQ(store.Add(file), -15) << field;
        EXPECT_THAT(TakeOwn(log), ElementsAre("1 Add, Line:253, ASSERT_FALSE"));
    }
    EXPECT_EQ(Files(Dir()), files);
    EXPECT_EQ(ReadBytes(Dir() + "index"), index);
    EXPECT_EQ(CodeOf(store, 1), 0);
}

TEST_F(DLPCacheTaskStoreTest, FileThatCannotBeEncodedIsRefusedAndNothingWritten) {
    auto const store = OpenStore();
    SensFile file = Numbered("/a", 1);
    file.extra_2 = std::string(32768, 'x');
    EXPECT_EQ(DLPCacheTaskStore::Check(file), -17);
    LogLines log;
    EXPECT_EQ(store.Add(file), -17);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 Add, Line:253, ASSERT_FALSE"));
    EXPECT_FALSE(Exists(Dir() + "cache"));
    file.extra_2 = std::string(32767, 'x');
    EXPECT_EQ(DLPCacheTaskStore::Check(file), 0);
    EXPECT_EQ(store.Add(file), 1);
    EXPECT_EQ(FindIn(store, 1).file.extra_2, file.extra_2);
}

TEST_F(DLPCacheTaskStoreTest, EmptyFieldsAreToldBeforeWhatCannotBeEncoded) {
    SensFile file = Numbered("/a", 1);
    file.extra_2 = std::string(32768, 'x');
    file.tpl_ids.clear();
    EXPECT_EQ(DLPCacheTaskStore::Check(file), -15);
}

TEST_F(DLPCacheTaskStoreTest, NumberIsTheKey) {
    auto const store = OpenStore();
    EXPECT_EQ(store.Add(Numbered("/a", 0)), -16);
    EXPECT_EQ(store.Add(Numbered("/a", 2)), -12);  // the numbers before it are not there
    EXPECT_EQ(store.Add(Numbered("/a", 1)), 1);
    EXPECT_EQ(store.Add(Numbered("/b", 2)), 1);
    EXPECT_EQ(store.GetIndexNumber(), 2);
    EXPECT_EQ(FindIn(store, 2).file, Stored("/b", 2));
    EXPECT_EQ(store.Add(Numbered("/c", 1)), 1);  // replaced
    EXPECT_EQ(store.GetIndexNumber(), 2);
    EXPECT_EQ(FindIn(store, 1).file, Stored("/c", 1));
}

TEST_F(DLPCacheTaskStoreTest, UnknownNumberIsAbsentAndLeavesTheFileReset) {
    auto const store = OpenStore();
    for (int const sn : {1, 7, INT_MAX}) {
        FoundFile const found = FindIn(store, sn);
        EXPECT_EQ(found.code, 0);
        EXPECT_EQ(found.file, SensFile());
    }
    EXPECT_EQ(CodeOf(store, 0), -14);
    EXPECT_EQ(CodeOf(store, -1), -14);
}

TEST_F(DLPCacheTaskStoreTest, NumberWithoutDataIsEmpty) {
    auto const store = OpenStore();
    ASSERT_EQ(store.Add(Numbered("/a", 1)), 1);
    std::string index = ReadBytes(Dir() + "index");
    index.replace(27 + 45, 4, FromHex("00 00 00 00"));  // the record's length
    WriteBytes(Dir() + "index", index);
    FoundFile const found = FindIn(store, 1);
    EXPECT_EQ(found.code, 1);
    EXPECT_EQ(found.file, SensFile());
}

TEST_F(DLPCacheTaskStoreTest, DamagedRecordIsNotDecoded) {
    auto const store = OpenStore();
    ASSERT_EQ(store.Add(Numbered("/a", 1)), 1);
    std::string const sound = ReadBytes(Dir() + "cache");
    for (std::size_t const place : {0U, 4U, 100U}) {  // the length, the path's count, the template ids' count
        std::string bytes = sound;
        ++bytes[place == 100 ? 4 + 6 + 66 + 32 + 16 : place];
        WriteBytes(Dir() + "cache", bytes);
        LogLines log;
        EXPECT_EQ(CodeOf(store, 1), -18) << place;
        EXPECT_EQ(TakeOwn(log).back(), "1 Find, Line:280, ASSERT_FALSE");
    }
}

TEST_F(DLPCacheTaskStoreTest, RecordOfAnotherSizeThanStoredIsNotDecoded) {
    auto const store = OpenStore();
    ASSERT_EQ(store.Add(Numbered("/a", 1)), 1);
    // A zero unit ends a text: the path "/a" reads as "/".
    std::string bytes = ReadBytes(Dir() + "cache");
    bytes[8] = 0;
    WriteBytes(Dir() + "cache", bytes);
    LogLines log;
    EXPECT_EQ(CodeOf(store, 1), -18);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 Find, Line:282, ASSERT_FALSE"));
}

TEST_F(DLPCacheTaskStoreTest, CodesOfTheRecordStoreArePassedOn) {
    NotSound();
    auto const store = OpenStore();
    ASSERT_EQ(store.Add(Numbered("/a", 1)), 1);
    fs::remove(Dir() + "cache");
    EXPECT_EQ(CodeOf(store, 1), -13);
    fs::create_directory(Dir() + "cache");
    EXPECT_EQ(store.Add(Numbered("/b", 2)), -6);
    fs::remove(Dir() + "index");
    EXPECT_EQ(store.Add(Numbered("/b", 2)), -3);
    EXPECT_EQ(CodeOf(store, 1), -3);
}

TEST_F(DLPCacheTaskStoreTest, ForeignIndexFileIsRefusedAndLeftAlone) {
    fs::create_directories(Dir());
    WriteBytes(Dir() + "index", std::string(200, 'x'));
    auto const store = OpenStore();
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -11);
    EXPECT_EQ(CodeOf(store, 1), -11);
    EXPECT_EQ(ReadBytes(Dir() + "index"), std::string(200, 'x'));
}

TEST_F(DLPCacheTaskStoreTest, IndexFileWithoutAHeadHoldsNothing) {
    fs::create_directories(Dir());
    for (std::size_t const length : {0U, 26U}) {
        WriteBytes(Dir() + "index", std::string(length, 'x'));
        EXPECT_EQ(OpenStore().GetIndexNumber(), 0);
    }
    auto const store = OpenStore();
    fs::remove(Dir() + "index");
    EXPECT_EQ(store.GetIndexNumber(), 0);
}

TEST_F(DLPCacheTaskStoreTest, OpeningMakesIndexAndSnapshotInTheTasksDirectory) {
    auto const store = OpenStore();
    EXPECT_THAT(Files(Dir()), ElementsAre("KeywordDataClass.arc", "KeywordDataLevel.arc", "KeywordFormatItem.arc",
                                          "KeywordTemplate.arc", "index"));
    EXPECT_EQ(ReadBytes(Dir() + "index"), FromHex("44 4c 50 54 70 6c 43 61 63 68 65 49 6e 64 65 78 48 65 61 64"
                                                  "00 05 02 00 00 00 00"));
    EXPECT_TRUE(store.complete());
    EXPECT_EQ(store.definitions()->get_config_path(), HString(Dir()));
}

TEST_F(DLPCacheTaskStoreTest, SnapshotHoldsThePolicysTemplatesOnceAndWhatTheyNeed) {
    task_.policy->audit_node->tpl_ids = {"T2", "T9", "T2"};
    auto const store = OpenStore();
    std::vector<QVKConfigKeywordTemplateNode const*> templates;
    ASSERT_TRUE(store.definitions()->get_config_vt(templates));
    ASSERT_EQ(templates.size(), 1U);
    EXPECT_EQ(templates[0]->common->id, "T2");
    EXPECT_EQ(store.definitions()->get_md5_by_tpl(*templates[0]), CurrentMd5("T2"));
    EXPECT_NE(store.definitions()->get_rule_by_id("R2"), nullptr);
    EXPECT_NE(store.definitions()->get_data_class_by_id("C2"), nullptr);
    EXPECT_NE(store.definitions()->get_data_level_by_id("L2"), nullptr);
    EXPECT_EQ(store.definitions()->get_rule_by_id("R1"), nullptr);
}

TEST_F(DLPCacheTaskStoreTest, SnapshotOfManyTemplatesIsInIdOrder) {
    task_.policy->audit_node->tpl_ids = {"T2", "T1"};
    (void)OpenStore();
    QVKConfigKeywordTemplateVT table;
    ASSERT_EQ(table.from_file(Dir() + "KeywordTemplate.arc"), 0);
    ASSERT_EQ(table.nodes.size(), 2U);
    EXPECT_EQ(table.nodes[0].common->id, "T1");
    EXPECT_EQ(table.nodes[1].common->id, "T2");
}

TEST_F(DLPCacheTaskStoreTest, FirstOpeningsDefinitionsStay) {
    HString const md5 = CurrentMd5("T1");
    (void)OpenStore();
    ChangeT1();
    ASSERT_NE(CurrentMd5("T1"), md5);
    auto const store = OpenStore();
    EXPECT_EQ(store.definitions()->get_md5_by_tpl(*store.definitions()->get_tpl_by_id("T1")), md5);
}

TEST_F(DLPCacheTaskStoreTest, FileWhoseTemplateLeftTheSnapshotIsFoundFilledButGone) {
    ASSERT_EQ(OpenStore().Add(Numbered("/a", 1)), 1);
    RemoveTemplate("T1");
    for (char const* name : {"KeywordTemplate.arc", "KeywordFormatItem.arc"})
        fs::remove(Dir() + name);
    auto const store = OpenStore();
    LogLines log;
    FoundFile const found = FindIn(store, 1);
    EXPECT_EQ(found.code, -13);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 Find, Line:287, ASSERT_FALSE"));
    SensFile expected = MakeFile("/a");
    expected.tpl_md5s = {CurrentMd5("T2")};
    expected.tpl_names = {"Invoices"};
    expected.data_classes = {"Money"};
    EXPECT_EQ(found.file, expected);
}

TEST_F(DLPCacheTaskStoreTest, TemplatesOfADamagedSnapshotAreGone) {
    ASSERT_EQ(OpenStore().Add(Numbered("/a", 1)), 1);
    Damage("KeywordTemplate.arc");
    LogLines log;
    auto const store = OpenStore();
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 load task snapshot failed, errno: 74, dir: " + Dir()));
    EXPECT_TRUE(store.complete());
    EXPECT_EQ(CodeOf(store, 1), -13);
    EXPECT_EQ(ReadBytes(Dir() + "KeywordTemplate.arc"), "damaged");
}

TEST_F(DLPCacheTaskStoreTest, MissingDataClassIsLeftOut) {
    definitions_.data_classes.nodes.erase(definitions_.data_classes.nodes.begin());
    Install();
    auto const store = OpenStore();
    ASSERT_EQ(store.Add(Numbered("/a", 1)), 1);
    FoundFile const found = FindIn(store, 1);
    EXPECT_EQ(found.code, 2);
    EXPECT_THAT(found.file.data_classes, ElementsAre("Money"));
}

TEST_F(DLPCacheTaskStoreTest, FillingEmptiesTheNamesAndAppendsTheRest) {
    auto const store = OpenStore();
    SensFile file = MakeFile("/a");
    file.tpl_ids = {"T1", "T9"};
    file.tpl_md5s = file.tpl_names = file.data_classes = {"old"};
    EXPECT_FALSE(store.FillTplInfo(file));
    EXPECT_THAT(file.tpl_names, ElementsAre("Contracts"));
    EXPECT_THAT(file.tpl_md5s, ElementsAre("old", CurrentMd5("T1")));
    EXPECT_THAT(file.data_classes, ElementsAre("old", "Secret"));
    file.tpl_ids = {"T1"};
    EXPECT_TRUE(store.FillTplInfo(file));
}

TEST_F(DLPCacheTaskStoreTest, TaskWithoutIdHasNoStoreAndNothingIsWritten) {
    task_.id.clear();
    auto const store = OpenStore();
    LogLines log;
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -2);
    EXPECT_EQ(CodeOf(store, 1), -2);
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 Add, Line:252, ASSERT_NULL", "1 Find, Line:270, ASSERT_NULL"));
    EXPECT_EQ(store.GetIndexNumber(), 0);
    EXPECT_TRUE(store.complete());
    EXPECT_NE(store.definitions(), nullptr);
    EXPECT_FALSE(Exists(root_ / "cache/task"));
}

TEST_F(DLPCacheTaskStoreTest, WithoutAStoreTheFileIsResetAllTheSame) {
    task_.id.clear();
    EXPECT_EQ(FindIn(OpenStore(), 1).file, SensFile());
}

TEST_F(DLPCacheTaskStoreTest, LinkInThePlaceOfTheDirectoryIsNotFollowed) {
    NotSound();
    fs::create_directories(root_ / "elsewhere");
    fs::create_directories(root_ / "cache/task");
    fs::create_directory_symlink(root_ / "elsewhere", root_ / "cache/task/task-1");
    LogLines log;
    auto const store = OpenStore();
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 make task dir failed, dir: " + Dir()));
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -2);
    EXPECT_TRUE(store.complete());
    EXPECT_TRUE(fs::is_empty(root_ / "elsewhere"));
}

TEST_F(DLPCacheTaskStoreTest, FileInThePlaceOfADirectoryIsLeftAlone) {
    fs::create_directories(root_ / "cache");
    WriteBytes(root_ / "cache/task", "file");
    auto const store = OpenStore();
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -2);
    EXPECT_TRUE(store.complete());
    EXPECT_EQ(ReadBytes(root_ / "cache/task"), "file");
}

TEST_F(DLPCacheTaskStoreTest, LinkInThePlaceOfTheIndexIsNotFollowed) {
    NotSound();
    fs::create_directories(Dir());
    WriteBytes(root_ / "elsewhere", "");
    fs::create_symlink(root_ / "elsewhere", Dir() + "index");
    auto const store = OpenStore();
    EXPECT_FALSE(store.complete());
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -2);
    EXPECT_EQ(ReadBytes(root_ / "elsewhere"), "");
}

TEST_F(DLPCacheTaskStoreTest, DirectoryInThePlaceOfTheIndexLeavesNoStore) {
    NotSound();
    fs::create_directories(Dir() + "index");
    auto const store = OpenStore();
    EXPECT_TRUE(store.complete());
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -2);
    EXPECT_EQ(store.GetIndexNumber(), 0);
}

TEST_F(DLPCacheTaskStoreTest, HostileIdStaysInTheTaskPath) {
    task_.id = "../../evil";
    auto const store = OpenStore();
    EXPECT_EQ(store.Add(Numbered("/a", 1)), 1);
    EXPECT_TRUE(Exists(root_ / "cache/task/%2E.%2F..%2Fevil/index"));
    EXPECT_FALSE(Exists(root_ / "evil"));
}

TEST_F(DLPCacheTaskStoreTest, IdTooLongForANameHasNoStore) {
    fs::create_directories(root_ / "cache/task");
    task_.id = std::string(256, 'x');
    auto const store = OpenStore();
    EXPECT_EQ(store.Add(Numbered("/a", 1)), -2);
    EXPECT_FALSE(store.complete());
}

}  // namespace
