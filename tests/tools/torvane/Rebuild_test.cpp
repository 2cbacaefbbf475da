#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <map>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/ScanTask.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"
#include "storage/DLPCacheManager.h"
#include "task/DLPCacheTaskStore.h"
#include "template/DLPCacheTpl.h"
#include "tests/tools/torvane/CheckFixture.h"
#include "text/DLPCacheText.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/rebuild/DataWriter.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Answer = StoredAnswer;

class Rebuilding : public CheckedRoot {
  protected:
    ~Rebuilding() override { std::filesystem::remove_all(Out()); }

    [[nodiscard]] std::string Out() const { return root_.Path() + "-out"; }
    [[nodiscard]] ToolResult Repair() const { return Run({"repair", "--out", Out(), "--format", "json"}); }
    [[nodiscard]] ToolResult Compact() const { return Run({"compact", "--out", Out(), "--format", "json"}); }
    [[nodiscard]] ToolResult VerifyOut() const { return tool_.Run({"verify", "--format", "json", "--root", Out()}); }

    // What a fresh library says to everything, over a root with these stores; the last question counts once more.
    [[nodiscard]] std::vector<std::string> AskedOfTheLibrary(std::string const& root) {
        KwLocateMgr::pins()->set_root(HString(root));
        std::vector<std::string> said;
        auto const& tpl = *KwDefineMgr::pins()->get_tpl_by_id("T1");
        DLPCacheTpl const cache(tpl, KwDefineMgr::pins()->get_md5_by_tpl(tpl));
        for (char letter = '0'; letter <= 'z'; ++letter) {
            QVKReportKeywordAttachNode node;
            QVKKeywordText text;
            HString name;
            std::string line = std::string("answer ") + letter;
            line += ' ' + std::to_string(cache.Find(HString(std::string(32, letter)), node, text, name));
            for (auto const& item : node.items)
                line += ' ' + item.rule_id.get_str() + ' ' + std::to_string(item.match_count);
            said.push_back(line + ' ' + name.get_str() + ' ' + text.text.get_str());
        }
        ScanTask task;
        said.push_back("task " + std::to_string(task.from_file(KwLocateMgr::pins()->get_task_arc("task-1"))));
        DLPCacheTaskStore const store(task);
        for (int sn = 0; sn <= store.GetIndexNumber() + 1; ++sn) {
            SensFile file;
            std::string line = "finding " + std::to_string(sn) + ' ' + std::to_string(store.Find(sn, file));
            line += ' ' + file.file_path.get_str() + ' ' + file.file_md5.get_str();
            for (auto const& id : file.tpl_ids)
                line += ' ' + id.get_str();
            for (auto const& name : file.tpl_names)
                line += ' ' + name.get_str();
            said.push_back(line);
        }
        for (char const* const name : {"first", "second"}) {
            QVKKeywordText text;
            int const code = DLPCacheText("task-1").Find(name, text);
            said.push_back(std::string("text ") + name + ' ' + std::to_string(code) + ' ' + text.text.get_str());
        }
        DLPCache::DLPCacheSensRecordMgr counts;
        for (char const* const file : {"/a", "/b", "/c", "/d"}) {
            int const times = counts.GetFileFoundTimes(file, policy_, DLPCache::DLPCacheSensRecordMgr::kRealtimeCheck);
            said.push_back(std::string("count ") + file + ' ' + std::to_string(times));
        }
        KwLocateMgr::pins()->set_root(HString(root_.Path()));
        return said;
    }

    template <class Key>
    static Answer Find(std::string const& directory, Key const& key) {
        DLPCache::Manager const store(0, HString(directory + "/index"), HString(directory + "/cache"));
        unsigned char* bytes = nullptr;
        int length = 0;
        Answer answer{store.Find(key, bytes, length), {}};
        if (bytes != nullptr) answer.bytes.assign(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(length));
        delete[] bytes;
        return answer;
    }
};

// ---- compact

TEST_F(Rebuilding, CompactAnswersEveryKeyAsBefore) {
    auto const before = Answers(root_.Path());
    ASSERT_EQ(Compact().status, 0);
    EXPECT_EQ(Answers(Out()), before);
    int with_data = 0;
    int without = 0;
    for (auto const& [key, answer] : before) {
        with_data += answer.code == DLPCache::kFoundWithData ? 1 : 0;
        without += answer.code == DLPCache::kFound ? 1 : 0;
    }
    EXPECT_GE(with_data, 10);
    EXPECT_GE(without, 5);
}

TEST_F(Rebuilding, TheLibraryAnswersFromACompactedRootAsBefore) {
    ASSERT_EQ(Compact().status, 0);
    auto const before = AskedOfTheLibrary(root_.Path());
    EXPECT_THAT(before, testing::Contains("answer b 2 R1 3 a.txt text"));
    EXPECT_THAT(before, testing::Contains("finding 3 2 /data/3 M1 T1 Contracts"));
    EXPECT_THAT(before, testing::Contains("text first 2 text"));
    EXPECT_THAT(before, testing::Contains("count /a 5"));
    EXPECT_EQ(AskedOfTheLibrary(Out()), before);
}

TEST_F(Rebuilding, CompactKeepsTheTrailingBytesOfAShorterRewrite) {
    std::string const directory = root_ / std::string(kCounters);
    DLPCache::Manager const store(0, HString(directory + "/index"), HString(directory + "/cache"));
    unsigned char longer[] = "\x10\0\0\0abcdefghijkl";
    HString const key = "rewritten";
    ASSERT_EQ(store.Add(key, longer, 16), 1);
    unsigned char shorter[] = "\x10\0\0\0zyx";
    ASSERT_EQ(store.Add(key, shorter, 7), 1);
    Answer const before = Find(directory, key);
    ASSERT_EQ(before.bytes, std::string("\x10\0\0\0zyxdefghijkl", 16));
    ASSERT_EQ(Compact().status, 0);
    EXPECT_EQ(Find(Out() + "/" + kCounters, key), before);
}

TEST_F(Rebuilding, CompactLeavesNoWasteBehind) {
    Append(Template() + "/cache", "dead");
    WriteBytes(root_ / (Template() + "/index.tmp"), "");
    ASSERT_EQ(Compact().status, 0);
    EXPECT_THAT(VerifyOut().Json()["items"], IsEmpty());
}

TEST_F(Rebuilding, CompactRefusesADamagedCache) {
    Flip(Template() + "/index", 3);
    ToolResult const result = Compact();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("repair"));
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Rebuilding, BothFollowTheirSchemas) {
    EXPECT_TRUE(FollowsSchema(Compact().out, "json"));
    std::filesystem::remove_all(Out());
    Flip(Template() + "/cache", 0);
    EXPECT_TRUE(FollowsSchema(Run({"repair", "--out", Out(), "--format", "jsonl"}).out, "jsonl"));
}

// ---- repair

TEST_F(Rebuilding, RepairOfASoundCacheLeavesNothingOut) {
    auto const before = Answers(root_.Path());
    ToolResult const result = Repair();
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(result.Json()["items"], IsEmpty());
    EXPECT_EQ(Answers(Out()), before);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairBringsBackWhatABrokenLinkHid) {
    auto const before = Answers(root_.Path());
    std::string const index = Template() + "/index";
    torvane::Slot slot = SlotAt(index, LinkedSlot());
    slot.next = 1LL << 40;
    PutSlot(index, LinkedSlot(), slot);
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(Answers(Out()), before);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairBringsBackWhatLiesBehindAZeroedSlot) {
    auto const before = Answers(root_.Path());
    std::string const index = Template() + "/index";
    PutSlot(index, LinkedSlot(), torvane::Slot());
    ASSERT_EQ(Repair().status, 0);
    int lost = 0;
    for (auto const& [key, answer] : Answers(Out()))
        lost += answer == before.at(key) ? 0 : 1;
    EXPECT_EQ(lost, 1);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairNamesTheEmptySlotsBehindTheTable) {
    Append(Template() + "/index", std::string(57 * 5, '\0'));
    EXPECT_THAT(Repair().Json()["items"], SizeIs(1));
}

TEST_F(Rebuilding, RepairLeavesADamagedRecordOutAndSaysSo) {
    std::uint64_t const number = LoneSlot();
    Put(Template() + "/cache", static_cast<std::uint64_t>(SlotAt(Template() + "/index", number).offset), "\x01\x01");
    auto const before = Answers(root_.Path());
    auto const report = Repair().Json();
    ASSERT_THAT(report["items"], SizeIs(1));
    EXPECT_EQ(report["items"][0]["slot"], number);
    int changed = 0;
    for (auto const& [key, answer] : Answers(Out())) {
        if (answer == before.at(key)) continue;
        EXPECT_EQ(answer.code, DLPCache::kDone) << key;
        ++changed;
    }
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairLeavesOutAnAnswerThatHasLostHalfOfItsPlace) {
    auto const before = Answers(root_.Path());
    std::string const index = Template() + "/index";
    std::uint64_t const number = LoneSlot();
    torvane::Slot const sound = SlotAt(index, number);
    for (bool const is_offset_lost : {true, false}) {
        torvane::Slot slot = sound;
        is_offset_lost ? void(slot.offset = -1) : void(slot.length = 0);
        PutSlot(index, number, slot);
        auto const report = Repair().Json();
        ASSERT_THAT(report["items"], SizeIs(1));
        EXPECT_EQ(report["items"][0]["slot"], number);
        for (auto const& [key, answer] : Answers(Out()))
            EXPECT_TRUE(answer == before.at(key) || answer.code == DLPCache::kDone) << key;
        std::filesystem::remove_all(Out());
    }
}

TEST_F(Rebuilding, RepairKeepsTheNumbersOfFindings) {
    Flip(std::string(kTask) + "/cache", 0);
    auto const before = Answers(root_.Path());
    ASSERT_EQ(Repair().status, 0);
    auto const after = Answers(Out());
    EXPECT_EQ(after.at("finding 1"), (Answer{DLPCache::kFound, ""}));
    EXPECT_EQ(after.at("finding 2"), before.at("finding 2"));
    EXPECT_EQ(after.at("finding 3"), before.at("finding 3"));
}

TEST_F(Rebuilding, RepairBringsBackTheAnswersOfAnIndexWithADamagedHead) {
    auto const before = Answers(root_.Path());
    Flip(Template() + "/index", 3);
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(Answers(Out()), before);
}

TEST_F(Rebuilding, RepairBringsBackTheAnswersOfAnIndexOfTooFewBuckets) {
    auto const before = Answers(root_.Path());
    for (char const* const count : {"\0\0\0\0", "\1\0\0\0", "\xff\xff\xff\xff"}) {
        Put(Template() + "/index", 23, std::string(count, 4));
        EXPECT_EQ(Compact().status, 1);
        ASSERT_EQ(Repair().status, 0);
        for (auto const& [key, answer] : Answers(Out())) {
            // Of 7 buckets, one could not take a key.
            bool const is_as_before = answer == before.at(key);
            EXPECT_TRUE(is_as_before || before.at(key).code == DLPCache::kPositionUnreachable) << key;
        }
        std::filesystem::remove_all(Out());
    }
}

TEST_F(Rebuilding, RepairLeavesOutBothOfTwoKeysWithOneRecord) {
    std::string const index = Template() + "/index";
    torvane::Slot const lone = SlotAt(index, LoneSlot());
    std::uint64_t const other =
        FindSlot(index, [&](auto, auto const& slot) { return slot.length > 0 && slot.offset != lone.offset; });
    torvane::Slot slot = SlotAt(index, other);
    slot.offset = lone.offset;
    PutSlot(index, other, slot);
    EXPECT_THAT(Repair().Json()["items"], SizeIs(2));
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairLeavesOutWhatTheLibraryWouldThrowAway) {
    Remove(Template() + "/KeywordFormatItem.arc");
    auto const report = Repair().Json();
    EXPECT_EQ(report["items"][0]["file"], Template());
    EXPECT_FALSE(Exists(Out() + "/" + Template()));
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairMakesAStampThatKeepsTheCache) {
    WriteBytes(root_ / "cache/Version.ini", "damaged");
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(ReadBytes(Out() + "/cache/Version.ini"), "[DLP]\ncache=4\n");
}

TEST_F(Rebuilding, RepairLeavesOutAStoreInWhichSomethingElseStandsForAFileItNeeds) {
    std::string const counts = kCounters;
    std::string const task = kTask;
    auto const damage = [&](std::string const& store, std::string const& file, auto const& make) {
        fs::copy(root_ / store, root_.Path() + "-kept", fs::copy_options::recursive);
        Remove(store + "/" + file);
        make(root_ / (store + "/" + file));
        EXPECT_EQ(Repair().status, 0) << file;
        EXPECT_EQ(VerifyOut().status, 0) << file << VerifyOut().out;
        EXPECT_FALSE(Exists(Out() + "/" + store)) << file;
        fs::remove_all(Out());
        fs::remove_all(root_ / store);
        fs::rename(root_.Path() + "-kept", root_ / store);
    };
    auto const link = [](std::string const& path) { fs::create_symlink("elsewhere", path); };
    damage(counts, "1700000000", link);
    damage(task, "ScanTask.arc", [](std::string const& path) { fs::create_directory(path); });
    damage(Template(), "KeywordFormatItem.arc", link);
    damage(Template(), "KeywordTemplate.arc",
           [](std::string const& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); });
}

TEST_F(Rebuilding, RepairDoesNotBelieveATaskIndexThatSaysItHasATable) {
    std::string const index = std::string(kTask) + "/index";
    auto const size = ReadBytes(root_ / index).size();
    Put(index, 23, std::string("\0\0\1\0", 4));
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(ReadBytes(Out() + "/" + index).size(), size);
}

TEST_F(Rebuilding, RepairLeavesOutAnIndexOfMoreSlotsThanCanBeCounted) {
    CutTo(std::string(kTask) + "/index", 300'000'000'000);
    ToolResult const result = Repair();
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.Json()["items"][0]["file"], kTask);
    EXPECT_TRUE(Exists(Out() + "/" + Template()));
}

TEST_F(Rebuilding, RepairNamesWhatDoesNotBelongAmongTheStores) {
    NotSound();
    fs::create_symlink("task-1", root_ / "cache/task/task-9");
    WriteBytes(root_ / "cache/template/file", "");
    fs::create_directory(root_ / (std::string(kTask) + "/SnapCache"));
    auto const items = Repair().Json()["items"];
    std::vector<std::string> named;
    for (auto const& item : items)
        named.push_back(item["file"]);
    EXPECT_THAT(named, testing::UnorderedElementsAre("cache/task/task-9", "cache/template/file",
                                                     std::string(kTask) + "/SnapCache"));
}

TEST_F(Rebuilding, DefinitionsBehindALinkAreNotCarriedOver) {
    fs::create_directories(root_ / "definitions");
    fs::create_directory_symlink("definitions", root_ / "config");
    auto const items = Repair().Json()["items"];
    ASSERT_THAT(items, SizeIs(1));
    EXPECT_EQ(items[0]["file"], "config");
    fs::remove_all(Out());
    EXPECT_EQ(Compact().status, 1);
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Rebuilding, CompactCarriesATaskWhoseIdLooksLikeATemporaryFiles) {
    ScanTask task;
    task.id = "index.tmp";
    ASSERT_EQ(task.to_file(KwLocateMgr::pins()->get_task_arc("index.tmp")), 0);
    ASSERT_EQ(Compact().status, 0);
    EXPECT_TRUE(Exists(Out() + "/cache/task/index.tmp/ScanTask.arc"));
}

TEST_F(Rebuilding, DefinitionsKeepTheTimeOfTheirMaking) {
    std::string const file = Template() + "/KeywordTemplate.arc";
    auto const made = fs::last_write_time(root_ / file) - std::chrono::hours(1000);
    fs::last_write_time(root_ / file, made);
    ASSERT_EQ(Compact().status, 0);
    EXPECT_EQ(fs::last_write_time(Out() + "/" + file), made);
}

// ---- where

TEST_F(Rebuilding, NoDirectoryAtAllIsRefused) {
    EXPECT_EQ(Run({"repair", "--out", ""}).status, 2);
}

TEST_F(Rebuilding, ARefusalLeavesNothingOfThePathBehind) {
    Flip(Template() + "/index", 3);
    EXPECT_EQ(Run({"compact", "--out", Out() + "/a/b"}).status, 1);
    EXPECT_FALSE(Exists(Out()));
    fs::create_directories(Out());
    EXPECT_EQ(Run({"compact", "--out", Out() + "/a/b"}).status, 1);
    EXPECT_TRUE(fs::is_empty(Out()));
}

TEST_F(Rebuilding, AnEmptyDirectoryIsClosedToOthers) {
    fs::create_directories(Out());
    fs::permissions(Out(), fs::perms(0755));
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(fs::status(Out()).permissions(), fs::perms::owner_all);
}

TEST_F(Rebuilding, ADirectoryThatHoldsSomethingIsRefused) {
    std::filesystem::create_directories(Out());
    WriteBytes(Out() + "/kept", "");
    EXPECT_EQ(Repair().status, 2);
    EXPECT_THAT(Files(Out()), testing::ElementsAre("kept"));
    EXPECT_EQ(Run({"repair", "--out", Out() + "/kept"}).status, 2);
}

TEST_F(Rebuilding, ADirectoryInTheSourceIsRefused) {
    EXPECT_EQ(Run({"repair", "--out", root_ / "cache/new"}).status, 2);
    EXPECT_EQ(Run({"compact", "--out", root_.Path()}).status, 2);
    EXPECT_FALSE(Exists(root_ / "cache/new"));
}

// ---- data files

TEST(DataWriter, CopiesRecordsOfAnySizeOneBehindTheOther) {
    TempRoot const root;
    std::string bytes;
    for (int i = 0; i < 2'500'000; ++i)
        bytes += static_cast<char>(i % 251);
    WriteBytes(root / "from", bytes);
    torvane::FileView const from(root / "from");
    torvane::DataWriter to(root / "to");
    EXPECT_EQ(to.Append(from, 7, 100), 0);
    EXPECT_EQ(to.Append(from, 0, bytes.size()), 100);
    EXPECT_EQ(to.Append(from, 3, 4), 2'500'100);
    to.Close();
    EXPECT_TRUE(ReadBytes(root / "to") == bytes.substr(7, 100) + bytes + bytes.substr(3, 4));
    EXPECT_THROW((void)to.Append(from, bytes.size() - 1, 2), torvane::Stop);
}

}  // namespace
