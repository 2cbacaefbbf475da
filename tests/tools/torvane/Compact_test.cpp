#include <chrono>
#include <filesystem>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/ScanTask.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"
#include "storage/DLPCacheManager.h"
#include "task/DLPCacheTaskStore.h"
#include "template/DLPCacheTpl.h"
#include "tests/tools/torvane/RebuildFixture.h"
#include "text/DLPCacheText.h"

namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;

using Answer = StoredAnswer;

class Compacting : public Rebuilding {
  protected:
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

TEST_F(Compacting, CompactAnswersEveryKeyAsBefore) {
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

TEST_F(Compacting, TheLibraryAnswersFromACompactedRootAsBefore) {
    ASSERT_EQ(Compact().status, 0);
    auto const before = AskedOfTheLibrary(root_.Path());
    EXPECT_THAT(before, testing::Contains("answer b 2 R1 3 a.txt text"));
    EXPECT_THAT(before, testing::Contains("finding 3 2 /data/3 M1 T1 Contracts"));
    EXPECT_THAT(before, testing::Contains("text first 2 text"));
    EXPECT_THAT(before, testing::Contains("count /a 5"));
    EXPECT_EQ(AskedOfTheLibrary(Out()), before);
}

TEST_F(Compacting, CompactKeepsTheTrailingBytesOfAShorterRewrite) {
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

TEST_F(Compacting, CompactLeavesNoWasteBehind) {
    Append(Template() + "/cache", "dead");
    WriteBytes(root_ / (Template() + "/index.tmp"), "");
    ASSERT_EQ(Compact().status, 0);
    EXPECT_THAT(VerifyOut().Json()["items"], IsEmpty());
}

TEST_F(Compacting, CompactRefusesADamagedCache) {
    Flip(Template() + "/index", 3);
    ToolResult const result = Compact();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("repair"));
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Compacting, CompactCarriesATaskWhoseIdLooksLikeATemporaryFiles) {
    ScanTask task;
    task.id = "index.tmp";
    ASSERT_EQ(task.to_file(KwLocateMgr::pins()->get_task_arc("index.tmp")), 0);
    ASSERT_EQ(Compact().status, 0);
    EXPECT_TRUE(Exists(Out() + "/cache/task/index.tmp/ScanTask.arc"));
}

TEST_F(Compacting, DefinitionsKeepTheTimeOfTheirMaking) {
    std::string const file = Template() + "/KeywordTemplate.arc";
    auto const made = fs::last_write_time(root_ / file) - std::chrono::hours(1000);
    fs::last_write_time(root_ / file, made);
    ASSERT_EQ(Compact().status, 0);
    EXPECT_EQ(fs::last_write_time(Out() + "/" + file), made);
}

TEST_F(Compacting, ALossIsNotHiddenByTenThousandThingsThatAreNone) {
    for (int i = 0; i <= 10000; ++i)
        WriteBytes(root_ / (std::string(kTask) + "/" + std::to_string(i) + ".1-1.tmp"), "");
    Remove(std::string(kTask) + "/cache");
    ToolResult const result = Compact();
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("unfinished"));
}

}  // namespace
