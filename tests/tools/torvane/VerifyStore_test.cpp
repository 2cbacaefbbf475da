// verify: what lies beside the records: definitions, task records, texts, markers, stamp.
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "tests/tools/torvane/VerifyFixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(VerifyOf, ATaskWithoutSomeOfItsDefinitions) {
    for (char const* const name : {"KeywordFormatItem.arc", "KeywordDataClass.arc", "KeywordDataLevel.arc"}) {
        std::string const file = std::string(kTask) + "/" + name;
        std::string const bytes = ReadBytes(root_ / file);
        Remove(file);
        auto const item = Items(root_.Path())[0];
        EXPECT_EQ(item["kind"], "unfinished");
        EXPECT_EQ(item["file"], file);
        EXPECT_NE(item["lost"], "");
        WriteBytes(root_ / file, bytes);
    }
}

TEST_F(VerifyOf, ATaskWithoutItsTemplatesSaysWhatIsLost) {
    Remove(std::string(kTask) + "/KeywordTemplate.arc");
    EXPECT_NE(Items(root_.Path())[0]["lost"], "");
    EXPECT_EQ(Run({"compact", "--out", Out()}).status, 0);  // the copy answers as it does
}

TEST_F(VerifyOf, AStoreOfWhichOnlyTheDefinitionsOrTheMarkerAreLeft) {
    for (std::string const& store : {Template(), std::string(kTask), std::string(kCounters)}) {
        Remove(store + "/index");
        Remove(store + "/cache");
        std::vector<std::string> files;
        for (auto const& item : Items(root_.Path())) {
            if (item["kind"] == "unfinished" && item["lost"] != "") files.push_back(item["file"]);
        }
        EXPECT_THAT(files, Contains(store + "/index"));
    }
    EXPECT_THAT(Damage(), IsEmpty());
}

TEST_F(VerifyOf, FindingsOfTemplatesThatTheSnapshotDoesNotHave) {
    EXPECT_THAT(Waste(), testing::Not(Contains("template-unknown")));
    NotSound();
    ASSERT_EQ(QVKConfigKeywordTemplateVT().to_file(HString(root_ / (std::string(kTask) + "/KeywordTemplate.arc"))), 0);
    EXPECT_THAT(Waste(), Contains("template-unknown"));
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("not in it: 3"));
}

TEST_F(VerifyOf, AMarkerIsATimeStampAsTheLibraryWritesIt) {
    for (std::string const name : {"00", "-0", "01", "999999999999999999999999999999"}) {
        WriteBytes(root_ / (std::string(kCounters) + "/" + name), "");
        EXPECT_THAT(QuickDamage(), ElementsAre("stray")) << name;
        std::filesystem::rename(root_ / (std::string(kCounters) + "/1700000000"), root_ / "kept");
        EXPECT_THAT(QuickDamage(), ElementsAre("marker-missing", "stray")) << name;
        std::filesystem::rename(root_ / "kept", root_ / (std::string(kCounters) + "/1700000000"));
        Remove(std::string(kCounters) + "/" + name);
    }
}

TEST_F(VerifyOf, OfSeveralMarkersTheOneOfTheAgentsPolicy) {
    WriteBytes(root_ / (std::string(kCounters) + "/999"), "");
    ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
    EXPECT_TRUE(Exists(Out() + "/" + kCounters + "/999"));
    EXPECT_TRUE(Exists(Out() + "/" + kCounters + "/1700000000"));
    EXPECT_EQ(tool_.Run({"verify", "--root", Out()}).status, 0);
    std::filesystem::remove_all(Out());

    QVKPolicySensitiveFileAuditVT policies;
    policies.nodes.push_back(policy_);
    std::filesystem::create_directories(root_ / "config");
    ASSERT_EQ(policies.to_file(HString(root_ / "config/PolicySensitiveFileAudit.arc")), 0);
    auto const item = Run({"verify", "--format", "json"}).Json()["items"][0];
    EXPECT_EQ(item["kind"], "stray");
    EXPECT_EQ(item["file"], std::string(kCounters) + "/999");
    ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
    EXPECT_FALSE(Exists(Out() + "/" + kCounters + "/999"));
    EXPECT_TRUE(Exists(Out() + "/" + kCounters + "/1700000000"));
}

TEST_F(VerifyOf, ASnapshotThatDoesNotDecode) {
    Flip(Template() + "/KeywordFormatItem.arc", 30);
    EXPECT_THAT(QuickDamage(), ElementsAre("snapshot-damaged"));
}

TEST_F(VerifyOf, AStoreWithADamagedArchiveAndAStampThatIsNoFileAreLeftOutOnceEach) {
    Flip(Template() + "/KeywordFormatItem.arc", 30);
    Remove("cache/Version.ini");
    std::filesystem::create_directory(root_ / "cache/Version.ini");
    EXPECT_THAT(Run({"repair", "--out", Out(), "--format", "json"}).Json()["items"], testing::SizeIs(2));
}

TEST_F(VerifyOf, ASnapshotOfOtherDefinitions) {
    Remove(Template() + "/KeywordFormatItem.arc");
    EXPECT_THAT(QuickDamage(), ElementsAre("snapshot-other"));
}

TEST_F(VerifyOf, ATaskWithoutItsRecord) {
    Remove(std::string(kTask) + "/ScanTask.arc");
    EXPECT_THAT(QuickDamage(), ElementsAre("task-record-missing"));
}

TEST_F(VerifyOf, ATaskWhoseRecordDoesNotDecode) {
    Flip(std::string(kTask) + "/ScanTask.arc", 30);
    EXPECT_THAT(QuickDamage(), ElementsAre("task-record-damaged"));
}

TEST_F(VerifyOf, ATaskUnderAnotherName) {
    NotSound();
    std::filesystem::rename(root_ / kTask, root_ / "cache/task/task-2");
    EXPECT_THAT(QuickDamage(), ElementsAre("task-record-other"));
}

TEST_F(VerifyOf, ATextThatDoesNotDecode) {
    Flip(std::string(kTask) + "/text/first.arc", 30);
    EXPECT_THAT(QuickDamage(), IsEmpty());
    EXPECT_THAT(Damage(), ElementsAre("text-damaged"));
}

TEST_F(VerifyOf, CountsWithoutAPolicyVersion) {
    Remove(std::string(kCounters) + "/1700000000");
    EXPECT_THAT(QuickDamage(), ElementsAre("marker-missing"));
}

TEST_F(VerifyOf, AStampThatTellsNoLayout) {
    WriteBytes(root_ / "cache/Version.ini", "[DLP]\nmajor=3\n");
    EXPECT_THAT(QuickDamage(), ElementsAre("stamp-damaged"));
}

// As the library reads it.
TEST_F(VerifyOf, AStampIsReadAsANumber) {
    WriteBytes(root_ / "cache/Version.ini", "[DLP]\ncache=04\n");
    EXPECT_THAT(QuickDamage(), IsEmpty());
    for (char const* const layout : {"x4", "+4", "", "4x"}) {
        WriteBytes(root_ / "cache/Version.ini", std::string("[DLP]\ncache=") + layout + "\n");
        EXPECT_THAT(QuickDamage(), ElementsAre("stamp-damaged")) << layout;
        ASSERT_EQ(Run({"repair", "--out", Out()}).status, 0);
        EXPECT_EQ(tool_.Run({"verify", "--root", Out()}).status, 0);
        std::filesystem::remove_all(Out());
    }
}

// The library leaves the cache as it is then.
TEST_F(VerifyOf, AStampThatCannotBeReadLosesNothing) {
    NotSound();
    std::string const stamp = root_ / "cache/Version.ini";
    auto const expect = [&](char const* what) {
        auto const items = Run({"verify", "--quick", "--format", "json"}).Json()["items"];
        EXPECT_EQ(items[0]["kind"], "stamp-damaged") << what;
        EXPECT_EQ(items[0]["lost"], "nothing") << what;
        EXPECT_THAT(QuickDamage(), ElementsAre("stamp-damaged")) << what;
        EXPECT_THAT(Run({"verify", "--quick"}).out, HasSubstr("1 place damaged")) << what;
        std::filesystem::remove_all(stamp);
    };
    std::filesystem::rename(stamp, root_ / "stamp");
    std::filesystem::create_symlink("../stamp", stamp);
    expect("link");
    std::filesystem::create_directory(stamp);
    expect("directory");
    ASSERT_EQ(::mkfifo(stamp.c_str(), 0600), 0);
    expect("FIFO");
    WriteBytes(stamp, "[DLP]\ncache=4\n" + std::string(1U << 20U, ' '));
    expect("too long");
}

TEST_F(VerifyOf, AgentsDefinitionsThatDoNotDecode) {
    NotSound();
    std::filesystem::create_directories(root_ / "config");
    WriteBytes(root_ / "config/KeywordDataClass.arc", "damaged");
    EXPECT_THAT(QuickDamage(), ElementsAre("config-damaged"));
}

TEST_F(VerifyOf, SomethingElseInAFilesPlace) {
    Remove(std::string(kTask) + "/cache");
    std::filesystem::create_directory(root_ / (std::string(kTask) + "/cache"));
    EXPECT_THAT(QuickDamage(), ElementsAre("data-missing", "foreign"));
}

TEST_F(VerifyOf, StrayFilesWhereverTheyLie) {
    for (std::string const& place :
         {std::string("cache"), std::string("cache/template"), std::string("cache/template/T1"), Template(),
          std::string("cache/task"), std::string(kTask), std::string(kTask) + "/text", std::string("cache/sensrecord"),
          std::string("cache/sensrecord/1"), std::string(kCounters)}) {
        WriteBytes(root_ / (place + "/.stray"), "");
        auto const item = Run({"verify", "--quick", "--format", "json"}).Json()["items"][0];
        EXPECT_EQ(item["kind"], "stray") << place;
        EXPECT_EQ(item["file"], place + "/.stray");
        Remove(place + "/.stray");
    }
}

TEST_F(VerifyOf, AgentsDefinitionsThatAreNoRegularFile) {
    NotSound();
    std::filesystem::create_directories(root_ / "config");
    ASSERT_EQ(::mkfifo((root_ / "config/KeywordTemplate.arc").c_str(), 0600), 0);
    EXPECT_THAT(QuickDamage(), ElementsAre("foreign"));
    ToolResult const result = Run({"repair", "--out", root_.Path() + "-out", "--format", "json"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.Json()["items"], testing::SizeIs(1));
    std::filesystem::remove_all(root_.Path() + "-out");
}

TEST_F(VerifyOf, AnIndexOfMoreSlotsThanCanBeCountedLeavesTheOtherStores) {
    CutTo(std::string(kTask) + "/index", 300'000'000'000);
    EXPECT_EQ(Run({"verify", "--quick"}).status, 3);
    Flip(Index(), 3);
    EXPECT_THAT(QuickDamage(), ElementsAre("index-head"));
}

TEST_F(VerifyOf, RecordsThatShareMoreThanCanBeDecoded) {
    auto const size = static_cast<int>(ReadBytes(root_ / Data()).size());
    int count = 0;
    for (std::uint64_t number = 1; number <= SlotCount(Index()); ++number) {
        if (SlotAt(Index(), number).length == 0) continue;
        ChangeSlot(number, [&](torvane::Slot& slot) {
            slot.offset = 0;
            slot.length = size - count++;
        });
    }
    ASSERT_GT(count, 6);
    EXPECT_THAT(Damage(), ElementsAre("record-damaged", "record-overlap"));
    EXPECT_THAT(Run({"verify"}).out, HasSubstr("were not decoded"));
}

TEST_F(VerifyOf, ADamagedRecordIsDamageAlsoWithoutAStamp) {
    Remove("cache/Version.ini");
    Put(Data(), static_cast<std::uint64_t>(SlotAt(Index(), LoneSlot()).offset), "\x01\x01");
    EXPECT_THAT(Damage(), ElementsAre("record-damaged"));
    auto const item = Items(root_.Path())[0];
    EXPECT_EQ(item["file"], "cache/Version.ini");
    EXPECT_THAT(std::string(item["lost"]), HasSubstr("everything"));
}

}  // namespace
