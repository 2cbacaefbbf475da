// Holds docs/formats.md and the code together: the worked examples of the page are files that the library reads.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "host/policy/QVKConfigKeywordDataClassVT.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/ScanTask.h"
#include "sensrecord/DLPCacheSensRecordNode.h"
#include "storage/DLPCacheIndex.h"
#include "task/DLPCacheSensFileNode.h"
#include "template/DLPCacheTplNode.h"
#include "tests/storage/RecordBytes.h"
#include "tests/support/TempRoot.h"

namespace {

// One dump of the page: bytes from a file offset on.
struct Dump {
    std::size_t offset = 0;
    std::string bytes;
};

// The page's hex dumps in order; a dump ends where the next line does not continue it.
std::vector<Dump> DumpsOfThePage() {
    std::ifstream page(TORVANE_SOURCE_DIR "/docs/formats.md");
    EXPECT_TRUE(page.is_open());
    std::regex const row("^    ([0-9a-f]{4})  ((?:[0-9a-f]{2} ?)+) .*");
    std::vector<Dump> dumps;
    std::string line;
    for (std::smatch match; std::getline(page, line);) {
        if (!std::regex_match(line, match, row)) continue;
        std::size_t const offset = std::stoul(match[1].str(), nullptr, 16);
        if (dumps.empty() || dumps.back().offset + dumps.back().bytes.size() != offset)
            dumps.push_back({offset, std::string()});
        dumps.back().bytes += FromHex(match[2].str());
    }
    return dumps;
}

enum DumpOrder : std::size_t {
    kIndexHead,
    kIndexSlot3,
    kIndexSlot5,
    kTplRecord,
    kFinding,
    kFoundTimes,
    kKeywordText,
    kArchive,
    kTask,
    kDumps
};

class FormatsPage : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(dumps_.size(), kDumps); }

    std::string const& Bytes(DumpOrder order) const { return dumps_[order].bytes; }
    void Place(std::string& file, DumpOrder order) const {
        Dump const& dump = dumps_[order];
        file.replace(dump.offset, dump.bytes.size(), dump.bytes);
    }

    TempRoot root_;
    std::vector<Dump> dumps_ = DumpsOfThePage();
};

TEST_F(FormatsPage, IndexHoldsBothKeysOfOneBucket) {
    std::string file(312, '\0');
    for (DumpOrder const order : {kIndexHead, kIndexSlot3, kIndexSlot5})
        Place(file, order);
    ASSERT_EQ(file.size(), 312U);
    WriteBytes(root_ / "index", file);

    DLPCache::Index const index{HString(root_ / "index")};
    long long offset = -1;
    int length = -1;
    EXPECT_EQ(index.Find("900150983cd24fb0d6963f7d28e17f72", offset, length), DLPCache::kFound);
    EXPECT_EQ(offset, 0);
    EXPECT_EQ(length, 300);
    EXPECT_EQ(index.Find("5d41402abc4b2a76b9719d911017c592", offset, length), DLPCache::kFound);
    EXPECT_EQ(offset, 300);
    EXPECT_EQ(length, 120);
}

TEST_F(FormatsPage, IndexIsWhatAddingTheTwoKeysMakes) {
    DLPCache::Index const index{HString(root_ / "index")};
    ASSERT_EQ(index.Init(4), DLPCache::kDone);
    ASSERT_EQ(index.Add("900150983cd24fb0d6963f7d28e17f72", 0, 300), DLPCache::kDone);
    ASSERT_EQ(index.Add("5d41402abc4b2a76b9719d911017c592", 300, 120), DLPCache::kDone);

    std::string page(312, '\0');
    for (DumpOrder const order : {kIndexHead, kIndexSlot3, kIndexSlot5})
        Place(page, order);
    EXPECT_EQ(ReadBytes(root_ / "index"), page);
}

TEST_F(FormatsPage, TemplateRecordHoldsTheRuleAndTheText) {
    std::string bytes = Bytes(kTplRecord);
    DLPCache::TplNode record;
    ASSERT_TRUE(record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size())));
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    ASSERT_TRUE(record.GetKeywordAttach(node, text));
    ASSERT_EQ(node.items.size(), 1U);
    EXPECT_EQ(node.items[0].rule_id, HString("R1"));
    EXPECT_EQ(node.items[0].sub_type, 1001);
    EXPECT_EQ(node.items[0].match_count, 3);
    EXPECT_EQ(node.items[0].file_short_name, HString("a.txt"));
    EXPECT_EQ(record.stored_name, HString("a.txt"));
    EXPECT_EQ(text.tpl_id, HString("T1"));
}

TEST_F(FormatsPage, FindingReadsBackAndIsEncodedTheSame) {
    std::string bytes = Bytes(kFinding);
    DLPCache::SensFileNode record;
    ASSERT_TRUE(record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size())));
    EXPECT_EQ(record.file_path, HString("/a"));
    EXPECT_EQ(record.file_md5, HString("M1"));
    EXPECT_EQ(record.file_attrs, (std::array<long long, 4>{1, 2, 3, -1}));
    EXPECT_EQ(record.extra_1, HString("v"));
    EXPECT_EQ(record.tpl_ids, std::vector<HString>{"T1"});
    EXPECT_EQ(ToBytes(record), bytes);
}

TEST_F(FormatsPage, FoundTimesReadBackAndAreEncodedTheSame) {
    std::string bytes = Bytes(kFoundTimes);
    DLPCache::SensRecordNode record;
    ASSERT_TRUE(record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size())));
    EXPECT_EQ(record.realtime_count, 0);
    EXPECT_EQ(record.policy_count, 2);
    EXPECT_EQ(record.tool_count, 1);
    EXPECT_EQ(ToBytes(record), bytes);
}

TEST_F(FormatsPage, TaskRecordReadsBackAndIsWrittenTheSame) {
    WriteBytes(root_ / "page.arc", Bytes(kTask));
    ScanTask task;
    ASSERT_EQ(task.from_file(HString(root_ / "page.arc")), 0);
    EXPECT_EQ(task.id, HString("t1"));
    EXPECT_EQ(task.name, HString("n"));
    EXPECT_EQ(task.start_time, 1700000000);
    EXPECT_EQ(task.handle, 7);
    EXPECT_EQ(task.status, kTaskRunning);
    EXPECT_EQ(task.audit_node().header().id, HString("p1"));
    EXPECT_EQ(task.audit_node().tpl_ids, std::vector<HString>{"T1"});
    EXPECT_TRUE(task.audit_node().keep);

    ASSERT_EQ(task.to_file(HString(root_ / "again.arc")), 0);
    EXPECT_EQ(ReadBytes(root_ / "again.arc"), Bytes(kTask));
}

TEST_F(FormatsPage, KeywordTextReadsBackAndIsEncodedTheSame) {
    std::string const& bytes = Bytes(kKeywordText);
    QVKKeywordText text;
    ASSERT_TRUE(text.from_buffer(bytes.data(), static_cast<long long>(bytes.size())));
    EXPECT_EQ(text.tpl_id, HString("T1"));

    char* buffer = nullptr;
    long long length = 0;
    ASSERT_TRUE(text.to_buffer(buffer, length));
    EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(length)), bytes);
    delete[] buffer;
}

TEST_F(FormatsPage, ArchiveHoldsTheDataClassAndIsWrittenTheSame) {
    WriteBytes(root_ / "page.arc", Bytes(kArchive));
    QVKConfigKeywordDataClassVT table;
    ASSERT_EQ(table.from_file(HString(root_ / "page.arc")), 0);
    ASSERT_EQ(table.nodes.size(), 1U);
    EXPECT_EQ(table.nodes[0].common->id, HString("C1"));
    EXPECT_EQ(table.nodes[0].common->name, HString("Private"));
    EXPECT_EQ(table.nodes[0].common->update_time, 1700000000);

    ASSERT_EQ(table.to_file(HString(root_ / "again.arc")), 0);
    EXPECT_EQ(ReadBytes(root_ / "again.arc"), Bytes(kArchive));
}

}  // namespace
