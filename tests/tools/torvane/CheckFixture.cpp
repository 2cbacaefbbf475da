#include "tests/tools/torvane/CheckFixture.h"

#include <filesystem>
#include <set>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/ScanTask.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"
#include "storage/DLPCacheManager.h"
#include "task/DLPCacheTaskStore.h"
#include "template/DLPCacheTpl.h"
#include "tests/support/BucketCount.h"
#include "tests/support/Definitions.h"
#include "tests/support/KeywordText.h"
#include "tests/support/SoundRoot.h"
#include "text/DLPCacheText.h"

namespace {

QVKReportKeywordAttachNode Matched() {
    QVKReportKeywordAttachNode node;
    auto& item = node.items.emplace_back();
    item.rule_id = "R1";
    item.sub_type = 1001;
    item.match_count = 3;
    item.match_text_1 = "one";
    item.file_short_name = "a.txt";
    return node;
}

SensFile FindingNumber(int sn) {
    SensFile file;
    file.sn = sn;
    file.file_path = HString("/data/" + std::to_string(sn));
    file.file_md5 = "M1";
    file.tpl_ids = {"T1"};
    return file;
}

template <class Key>
StoredAnswer FindIn(std::string const& directory, Key const& key) {
    DLPCache::Manager const store(0, HString(directory + "/index"), HString(directory + "/cache"));
    unsigned char* bytes = nullptr;
    int length = 0;
    StoredAnswer answer{store.Find(key, bytes, length), {}};
    if (bytes != nullptr) answer.bytes.assign(reinterpret_cast<char*>(bytes), static_cast<std::size_t>(length));
    delete[] bytes;
    return answer;
}

}  // namespace

CheckedRoot::CheckedRoot() {
    SetBucketCount(root_.Path(), "7");
    Define();
    (void)DLPCacheMgr::pins();  // stamps the root
    MakeAnswers();
    MakeFindings();
    MakeCounts();
}

void CheckedRoot::Define() {
    auto& tpl = definitions_.templates.nodes.emplace_back();
    tpl.common->id = "T1";
    tpl.common->name = "Contracts";
    tpl.data_class_id = "C1";
    tpl.data_level_id = "L1";
    tpl.rule_ids = {"R1"};
    auto& rule = definitions_.rules.nodes.emplace_back();
    rule.common->id = "R1";
    rule.sub_type = 1001;
    definitions_.data_classes.nodes.emplace_back().common->id = "C1";
    definitions_.data_levels.nodes.emplace_back().common->id = "L1";
    InstallCopyOf(definitions_);
}

void CheckedRoot::MakeAnswers() {
    KwDefineMgr const& definitions = *KwDefineMgr::pins();
    auto const& tpl = *definitions.get_tpl_by_id("T1");
    HString const md5 = definitions.get_md5_by_tpl(tpl);
    template_ = "cache/template/T1/" + md5.get_str();
    DLPCacheTpl const cache(tpl, md5);
    for (char letter = 'a'; letter <= 'z'; ++letter) {
        bool const is_matched = letter % 2 == 0;
        (void)cache.Add(HString(std::string(32, letter)), is_matched ? Matched() : QVKReportKeywordAttachNode(),
                        MakeText("text"), "a.txt");
    }
}

void CheckedRoot::MakeFindings() {
    ScanTask task;
    task.id = "task-1";
    task.policy->audit_node->tpl_ids = {"T1"};
    ASSERT_EQ(task.to_file(KwLocateMgr::pins()->get_task_arc("task-1")), 0);
    DLPCacheTaskStore const store(task);
    for (int sn = 1; sn <= 3; ++sn)
        ASSERT_EQ(store.Add(FindingNumber(sn)), DLPCache::kTaskFileStored);
    ASSERT_EQ(DLPCacheText("task-1").Add("first", MakeText("text")), DLPCache::kTextStored);
}

void CheckedRoot::MakeCounts() {
    policy_.policy->id = "P1";
    policy_.policy->time_stamp = 1700000000;
    DLPCache::DLPCacheSensRecordMgr counts;
    for (char const* const file : {"/a", "/a", "/a", "/a", "/b", "/c"})
        (void)counts.GetFileFoundTimes(file, policy_, DLPCache::DLPCacheSensRecordMgr::kRealtimeCheck);
}

void CheckedRoot::Put(std::string const& file, std::uint64_t offset, std::string const& bytes) {
    std::string content = ReadBytes(root_ / file);
    ASSERT_LE(offset + bytes.size(), content.size());
    WriteBytes(root_ / file, content.replace(offset, bytes.size(), bytes));
}

void CheckedRoot::Flip(std::string const& file, std::uint64_t offset) {
    char const byte = ReadBytes(root_ / file).at(offset);
    Put(file, offset, std::string(1, static_cast<char>(byte ^ 1)));
}

void CheckedRoot::CutTo(std::string const& file, std::uint64_t length) {
    NotSound();
    std::filesystem::resize_file(root_ / file, length);
}

void CheckedRoot::Append(std::string const& file, std::string const& bytes) {
    WriteBytes(root_ / file, ReadBytes(root_ / file) + bytes);
}

void CheckedRoot::Remove(std::string const& file) {
    NotSound();
    ASSERT_NE(std::filesystem::remove_all(root_ / file), 0U) << file;
}

std::map<std::string, StoredAnswer> CheckedRoot::Answers(std::string const& root) const {
    std::map<std::string, StoredAnswer> answers;
    for (char letter = '0'; letter <= 'z'; ++letter) {
        std::string const key(32, letter);
        answers["answer " + key] = FindIn(root + "/" + Template(), HString(key));
    }
    for (int sn = 1; sn <= 5; ++sn)
        answers["finding " + std::to_string(sn)] = FindIn(root + "/" + kTask, sn);
    for (char const* const file : {"/a", "/b", "/c", "/d"})
        answers[std::string("count ") + file] =
            FindIn(root + "/" + kCounters, HString(file).get_md5_std_format(HString()));
    return answers;
}

std::map<std::string, std::string> CheckedRoot::StateOfCache() const {
    std::map<std::string, std::string> state;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root_ / "cache")) {
        auto const written = entry.last_write_time().time_since_epoch().count();
        state[entry.path()] =
            std::to_string(written) + (entry.is_regular_file() ? ReadBytes(entry.path()) : std::string());
    }
    return state;
}

nlohmann::ordered_json CheckedRoot::Items(std::string const& root) const {
    ToolResult const result = tool_.Run({"verify", "--format", "json", "--root", root});
    EXPECT_TRUE(FollowsSchema(result.out, "json")) << result.out << result.err;
    return result.Json()["items"];
}

std::uint64_t CheckedRoot::SlotCount(std::string const& file) const {
    return torvane::IndexView(root_ / file).slots();
}

torvane::Slot CheckedRoot::SlotAt(std::string const& file, std::uint64_t number) const {
    torvane::Slot slot;
    EXPECT_TRUE(torvane::IndexView(root_ / file).Peek(number, slot)) << file << " slot " << number;
    return slot;
}

void CheckedRoot::PutSlot(std::string const& file, std::uint64_t number, torvane::Slot const& slot) {
    std::string bytes(torvane::Slot::kSize, '\0');
    DLPCache::EncodeIndexKey(slot, reinterpret_cast<std::uint8_t*>(bytes.data()));
    Put(file, torvane::IndexView::OffsetOf(number), bytes);
}

std::uint64_t CheckedRoot::LinkedSlot() const {
    return FindSlot(Template() + "/index", [](auto, auto const& slot) { return slot.next != 0; });
}

std::uint64_t CheckedRoot::LoneSlot() const {
    return FindSlot(Template() + "/index",
                    [](auto, auto const& slot) { return slot.str_key[0] != 0 && slot.next == 0 && slot.length > 0; });
}

ToolResult CheckedRoot::Run(std::vector<std::string> words) const {
    words.insert(words.end(), {"--root", root_.Path()});
    return tool_.Run(words);
}

std::vector<std::string> CheckedRoot::Kinds(std::string const& severity, std::vector<std::string> words) const {
    words.insert(words.begin(), {"verify", "--format", "json"});
    ToolResult const result = Run(words);
    EXPECT_TRUE(FollowsSchema(result.out, "json"));
    auto const report = result.Json();
    std::set<std::string> kinds;
    for (auto const& item : report["items"]) {
        if (item["severity"] == severity) kinds.insert(item["kind"]);
    }
    EXPECT_EQ(result.status, report["damage"] == 0 ? 0 : 1) << result.out << result.err;
    return {kinds.begin(), kinds.end()};
}
