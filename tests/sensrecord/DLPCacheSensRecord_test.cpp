#include "sensrecord/DLPCacheSensRecord.h"

#include <filesystem>
#include <ostream>

#include "storage/DLPCacheManager.h"
#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/support/NoFile.h"

namespace {

namespace fs = std::filesystem;
using DLPCache::SensRecordNode;
using testing::ElementsAre;
using testing::IsEmpty;

class SensRecordTest : public SensRecordFixture {
  protected:
    int Find(HString const& key) const {
        SensRecordNode node = MakeRecord(7, 8, 9);
        int const code = record_.Find(key, node);
        if (code != 2) {
            EXPECT_TRUE(SameCounts(node, MakeRecord(7, 8, 9)));
        }
        return code;
    }
    int Add(HString const& key, int realtime, int policy, int tool) const {
        SensRecordNode node = MakeRecord(realtime, policy, tool);
        return record_.Add(key, node);
    }
    void Update() { record_.Update(policy_); }
    // Puts bytes, or nothing, under a key as no count would.
    void Put(HString const& key, std::string bytes) const {
        DLPCache::Manager const store(100000, Dir() + "index", Dir() + "cache");
        store.Add(key, bytes.empty() ? nullptr : reinterpret_cast<unsigned char*>(bytes.data()),
                  static_cast<int>(bytes.size()));
    }

    DLPCache::DLPCacheSensRecord record_;
};

TEST_F(SensRecordTest, WithoutAStoreEverythingIsRefused) {
    LogLines log;
    EXPECT_EQ(Find("key"), -2);
    EXPECT_EQ(Add("key", 1, 2, 3), -2);
    EXPECT_THAT(TakeOwn(log), ElementsAre(Assertion("Find", 203, "NULL"), Assertion("Add", 224, "NULL")));
}

TEST_F(SensRecordTest, FindsWhatWasAdded) {
    Update();
    EXPECT_EQ(Find("key"), 0);
    EXPECT_EQ(Add("key", 1, 2, 3), 1);
    SensRecordNode node;
    EXPECT_EQ(record_.Find("key", node), 2);
    EXPECT_TRUE(SameCounts(node, MakeRecord(1, 2, 3)));
    EXPECT_EQ(Find("Key"), 0);
}

TEST_F(SensRecordTest, LaterCountsReplaceTheEarlierOnes) {
    Update();
    EXPECT_EQ(Add("key", 1, 2, 3), 1);
    EXPECT_EQ(Add("key", 4, 5, 6), 1);
    SensRecordNode node;
    EXPECT_EQ(record_.Find("key", node), 2);
    EXPECT_TRUE(SameCounts(node, MakeRecord(4, 5, 6)));
    EXPECT_EQ(ReadBytes(Dir() + "cache"), FromHex("10000000 04000000 05000000 06000000"));
}

TEST_F(SensRecordTest, KeyWithoutDataIsEmpty) {
    NotSound();
    Update();
    Put("key", "");
    EXPECT_EQ(Find("key"), 1);
}

TEST_F(SensRecordTest, DamagedRecordIsNotDecoded) {
    NotSound();
    LogLines log;
    Update();
    Put("short", FromHex("10000000 01000000 02000000"));
    Put("other length", FromHex("0F000000 01000000 02000000 03000000"));
    (void)log.Take();
    EXPECT_EQ(Find("short"), -18);
    EXPECT_THAT(TakeOwn(log), ElementsAre(Assertion("Read", 54, "READ_INT32 Ret: 0"), Assertion("Find", 214, "FALSE")));
    EXPECT_EQ(Find("other length"), -18);
    EXPECT_THAT(TakeOwn(log), ElementsAre(Assertion("Read", 50, "FALSE"), Assertion("Find", 214, "FALSE")));
}

TEST_F(SensRecordTest, LongerRecordIsNotDecoded) {
    NotSound();
    LogLines log;
    Update();
    Put("long", FromHex("10000000 01000000 02000000 03000000 00"));
    EXPECT_EQ(Find("long"), -18);
    EXPECT_THAT(TakeOwn(log), ElementsAre(Assertion("Find", 215, "FALSE")));
}

TEST_F(SensRecordTest, PartlyDecodedRecordCountsFromZero) {
    NotSound();
    Update();
    Put(HString("/a.txt").get_md5_std_format(""), FromHex("10000000 05000000 05000000"));
    EXPECT_EQ(Count("/a.txt"), 1);
}

TEST_F(SensRecordTest, CodesOfTheStoreArePassedOn) {
    Update();
    EXPECT_EQ(Add("key", 1, 2, 3), 1);
    fs::remove(Dir() + "cache");
    EXPECT_EQ(Find("key"), -13);
    WriteBytes(Dir() + "index", std::string(100, 'x'));
    EXPECT_EQ(Find("key"), -11);
    EXPECT_EQ(Add("key", 1, 2, 3), -11);
    fs::remove(Dir() + "index");
    EXPECT_EQ(Find("key"), -3);
    EXPECT_EQ(Add("key", 1, 2, 3), -3);
}

TEST_F(SensRecordTest, FirstUpdateMakesMarkerAndIndex) {
    Update();
    EXPECT_THAT(Files(Dir()), ElementsAre("1700000000", "index"));
    EXPECT_EQ(ReadBytes(Dir() + "1700000000"), "");
    EXPECT_EQ(fs::file_size(Dir() + "index"), 27U + 100000U * 57U);
    EXPECT_EQ(ReadBytes(Dir() + "index").substr(0, 27), "DLPTplCacheIndexHead" + FromHex("00 05 02 A0 86 01 00"));
}

TEST_F(SensRecordTest, FurtherUpdateOfTheVersionChangesNothing) {
    Update();
    ASSERT_EQ(Add("key", 1, 2, 3), 1);
    std::string const index = ReadBytes(Dir() + "index");
    WriteBytes(Dir() + "of others", "stays");
    Update();
    EXPECT_EQ(Find("key"), 2);
    EXPECT_THAT(Files(Dir()), ElementsAre("1700000000", "cache", "index", "of others"));
    EXPECT_EQ(ReadBytes(Dir() + "index") == index, true);
}

TEST_F(SensRecordTest, FirstUpdateOpensWhatIsThere) {
    Count("/a.txt");
    Update();
    EXPECT_EQ(Find(HString("/a.txt").get_md5_std_format("")), 2);
}

TEST_F(SensRecordTest, AnotherVersionBeginsAnEmptyDirectory) {
    for (long long const stamp : {kStamp + 1, kStamp - 1, 0LL, -1LL}) {
        Update();
        ASSERT_EQ(Add("key", 1, 2, 3), 1);
        fs::create_directories(Dir() + "more/and more");
        WriteBytes(Dir() + "more/file", "goes");
        SetStamp(stamp);
        Update();
        EXPECT_EQ(Find("key"), 0);
        EXPECT_THAT(Files(Dir()), ElementsAre(std::to_string(stamp), "index"));
        EXPECT_EQ(fs::file_size(Dir() + "index"), 27U + 100000U * 57U);
    }
}

TEST_F(SensRecordTest, MarkerThatIsGoneBeginsAnew) {
    Update();
    ASSERT_EQ(Add("key", 1, 2, 3), 1);
    fs::remove(Dir() + "1700000000");
    Update();
    EXPECT_EQ(Find("key"), 0);
    EXPECT_THAT(Files(Dir()), ElementsAre("1700000000", "index"));
}

TEST_F(SensRecordTest, DirectoryIsNoMarker) {
    fs::create_directories(Dir() + "1700000000/sub");
    Update();
    EXPECT_EQ(Find("key"), 0);
    EXPECT_TRUE(fs::is_regular_file(Dir() + "1700000000"));
}

TEST_F(SensRecordTest, IndexThatIsMissingIsMadeWhenTheStoreIsOpened) {
    Count("/a.txt");
    fs::remove(Dir() + "index");
    Update();
    EXPECT_EQ(Find("key"), 0);
    EXPECT_EQ(Add("key", 1, 2, 3), 1);
    EXPECT_EQ(Find("key"), 2);
}

TEST_F(SensRecordTest, StoreThatCannotBeMadeIsTriedAgain) {
    fs::create_directories(Dir() + "index/in the way");
    WriteBytes(Dir() + "1700000000", "");
    Update();
    EXPECT_EQ(Find("key"), -2);
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 1);
    fs::remove_all(Dir() + "index");
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 2);
}

TEST_F(SensRecordTest, FileInTheDirectorysPlaceStays) {
    LogLines log;
    fs::create_directories(root_ / "cache/sensrecord/1");
    WriteBytes(root_ / "cache/sensrecord/1/P1", "stays");
    Update();
    EXPECT_THAT(TakeOwn(log), ElementsAre("1 149 delete sens record dir failed, errno: 20, dir: " + Dir()));
    EXPECT_EQ(Find("key"), -2);
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(ReadBytes(root_ / "cache/sensrecord/1/P1"), "stays");
}

TEST_F(SensRecordTest, FileInThePlaceOfAllDirectoriesStays) {
    LogLines log;
    fs::create_directories(root_ / "cache/sensrecord");
    WriteBytes(root_ / "cache/sensrecord/1", "stays");
    Update();
    EXPECT_THAT(TakeOwn(log),
                ElementsAre("1 141 make sens record dir failed, dir: " + (root_ / "cache/sensrecord/1/")));
    EXPECT_EQ(Find("key"), -2);
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(ReadBytes(root_ / "cache/sensrecord/1"), "stays");
}

// Directories that are not ours, reached through a symbolic link in the place of one that is: with counts of this
// version, and of an older one.
class LinkedSensRecordTest : public SensRecordTest, public testing::WithParamInterface<char const*> {
  protected:
    // A found-times directory of the other version.
    void Prepare(std::string const& directory) {
        fs::create_directories(directory);
        WriteBytes(directory + GetParam(), "");
        WriteBytes(directory + "document", "stays");
        fs::copy_file(Dir("P2") + "index", directory + "index");
        fs::copy_file(Dir("P2") + "cache", directory + "cache");
    }
    void ExpectUntouched(std::string const& directory) {
        EXPECT_THAT(Files(directory), ElementsAre(GetParam(), "cache", "document", "index"));
        EXPECT_EQ(ReadBytes(directory + "index") == ReadBytes(Dir("P2") + "index"), true);
        EXPECT_EQ(ReadBytes(directory + "cache"), ReadBytes(Dir("P2") + "cache"));
    }
    void SetUp() override {
        ASSERT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", MakePolicy("P2")), 1);
        ASSERT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", MakePolicy("P2")), 2);
    }
};
INSTANTIATE_TEST_SUITE_P(Markers, LinkedSensRecordTest, testing::Values("1700000000", "1600000000"));

TEST_P(LinkedSensRecordTest, NothingBehindItIsTouched) {
    NotSound();
    std::string const elsewhere = root_ / "elsewhere/";
    Prepare(elsewhere);
    fs::create_directory_symlink(elsewhere, Dir().substr(0, Dir().size() - 1));
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 1);
    ExpectUntouched(elsewhere);
}

TEST_P(LinkedSensRecordTest, NothingBehindALinkAboveIsTouched) {
    std::string const elsewhere = root_ / "elsewhere/";
    Prepare(elsewhere + "1/P1/");
    struct {
        std::string link;
        std::string target;
    } const links[] = {{root_ / "cache/sensrecord/1", elsewhere + "1"}, {root_ / "cache/sensrecord", elsewhere}};
    for (auto const& [link, target] : links) {
        SCOPED_TRACE(link);
        fs::rename(link, root_ / "kept");
        fs::create_directory_symlink(target, link);
        EXPECT_EQ(Count("/a.txt"), 1);
        EXPECT_EQ(Count("/a.txt"), 1);
        fs::remove(link);
        fs::rename(root_ / "kept", link);
        ExpectUntouched(elsewhere + "1/P1/");
        EXPECT_THAT(Files(elsewhere), ElementsAre("1"));
    }
}

TEST_P(LinkedSensRecordTest, LinkThatComesLaterIsSeen) {
    NotSound();
    CountTimes(2, "/a.txt");
    std::string const elsewhere = root_ / "elsewhere/";
    Prepare(elsewhere);
    fs::remove_all(Dir());
    fs::create_directory_symlink(elsewhere, Dir().substr(0, Dir().size() - 1));
    EXPECT_EQ(Count("/a.txt"), 1);
    ExpectUntouched(elsewhere);
}

TEST_F(SensRecordTest, LinksInADirectoryAreDeletedAndNotFollowed) {
    fs::create_directories(Dir());
    fs::create_directories(root_ / "elsewhere");
    WriteBytes(root_ / "elsewhere/document", "stays");
    fs::create_directory_symlink(root_ / "elsewhere", Dir() + "link");
    fs::create_symlink(root_ / "elsewhere/document", Dir() + "cache");
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(ReadBytes(root_ / "elsewhere/document"), "stays");
    EXPECT_THAT(Files(Dir()), ElementsAre("1700000000", "cache", "index"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Dir() + "cache")));
}

TEST_F(SensRecordTest, WhatIsNoFileInTheMarkersPlaceIsNoMarker) {
    WriteBytes(root_ / "target", "stays");
    for (std::string const kind : kNoFiles) {
        SCOPED_TRACE(kind);
        CountTimes(2, "/a.txt");
        PutNoFile(kind, Dir() + "1700000000", root_ / "target");
        EXPECT_EQ(Count("/a.txt"), 1);
        EXPECT_EQ(Count("/a.txt"), 2);
        EXPECT_EQ(ReadBytes(root_ / "target"), "stays");
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(Dir() + "1700000000")));
    }
}

// Ids that would lead out of the directory if they were taken as they stand, and the names that they have instead.
struct HostileId {
    char const* id;
    char const* name;
    friend void PrintTo(HostileId const& hostile, std::ostream* out) { *out << hostile.name; }
};
class HostileIdTest : public SensRecordTest, public testing::WithParamInterface<HostileId> {};
INSTANTIATE_TEST_SUITE_P(Ids, HostileIdTest,
                         testing::Values(HostileId{"", "%"}, HostileId{".", "%2E"}, HostileId{"..", "%2E."},
                                         HostileId{"/", "%2F"}, HostileId{"a/../b", "a%2F..%2Fb"},
                                         HostileId{"../../victim", "%2E.%2F..%2Fvictim"}, HostileId{"b/", "b%2F"},
                                         HostileId{"%", "%25"}));

TEST_P(HostileIdTest, OnlyItsOwnDirectoryIsDeleted) {
    std::string const others[] = {"file",
                                  "cache/file",
                                  "cache/victim/file",
                                  "cache/sensrecord/file",
                                  "victim/file",
                                  "cache/task/T/file",
                                  "cache/sensrecord/1/file",
                                  "cache/sensrecord/1/a/file",
                                  "cache/sensrecord/1/b/file"};
    for (std::string const& other : others) {
        fs::create_directories(fs::path(root_ / other).parent_path());
        WriteBytes(root_ / other, "stays");
    }
    policy_ = MakePolicy(GetParam().id);
    for (int version = 0; version < 3; ++version) {
        SetStamp(kStamp + version);
        EXPECT_EQ(Count("/a.txt"), 1);
        EXPECT_EQ(Count("/a.txt"), 2);
    }
    EXPECT_THAT(Files(Dir(GetParam().name)), ElementsAre("1700000002", "cache", "index"));
    EXPECT_THAT(Files(root_ / "cache/sensrecord/1"), testing::UnorderedElementsAre(GetParam().name, "a", "b", "file"));
    for (std::string const& other : others)
        EXPECT_EQ(ReadBytes(root_ / other), "stays");
}

TEST_F(SensRecordTest, IdTooLongForAFileIsNotCounted) {
    policy_ = MakePolicy(std::string(300, 'p'));
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 1);
    SetStamp(kStamp + 1);
    EXPECT_EQ(Count("/a.txt"), 1);
}

}  // namespace
