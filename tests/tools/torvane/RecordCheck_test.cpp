// What the check of records says against what decoding them with the library's classes says, over records that are
// sound and records that were damaged at random.
#include <gmock/gmock.h>

#include <fstream>
#include <memory>

#include "host/base/Global.h"
#include "sensrecord/DLPCacheSensRecordNode.h"
#include "task/DLPCacheSensFileNode.h"
#include "template/DLPCacheTplNode.h"
#include "tests/support/KeywordText.h"
#include "tests/support/TempRoot.h"
#include "tools/torvane/check/RecordCheck.h"

namespace {

using torvane::StoreKind;

std::string BytesOf(DLPCache::SerialBasic& record) {
    unsigned char* bytes = nullptr;
    int length = 0;
    EXPECT_TRUE(record.ToBuffer(bytes, length));
    std::unique_ptr<unsigned char[]> const owner(bytes);
    return {reinterpret_cast<char*>(bytes), static_cast<std::size_t>(length)};
}

std::string AnAnswer() {
    DLPCache::TplNode record;
    QVKReportKeywordAttachNode node;
    for (char const* const rule : {"R1", "R2"}) {
        auto& item = node.items.emplace_back();
        item.rule_id = rule;
        item.sub_type = 1001;
        item.match_text_1 = "one";
    }
    EXPECT_TRUE(record.SetKeywordAttach(node, MakeText("a text")));
    record.stored_name = "a.txt";
    return BytesOf(record);
}

std::string AFinding() {
    DLPCache::SensFileNode record;
    record.file_path = "/a";
    record.file_md5 = "M1";
    record.tpl_ids = {"T1", "T2"};
    return BytesOf(record);
}

std::string Counts() {
    DLPCache::SensRecordNode record;
    record.tool_count = 3;
    return BytesOf(record);
}

template <class Record>
bool IsRead(Record& record, std::string bytes) {
    auto const length = static_cast<int>(bytes.size());
    return record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), length) && record.Size() == length;
}

// As the caches read them.
bool LibraryReads(StoreKind kind, std::string const& bytes) {
    DLPCache::TplNode answer;
    DLPCache::SensFileNode finding;
    DLPCache::SensRecordNode counts;
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    switch (kind) {
        case StoreKind::kTemplate:
            // An empty text stands for one that could not be decoded: none of these records has an empty one.
            return IsRead(answer, bytes) && answer.GetKeywordAttach(node, text) && text != QVKKeywordText();
        case StoreKind::kTask:
            return IsRead(finding, bytes);
        case StoreKind::kCounter:
            break;
    }
    // A negative count is none, though the library would count on from it.
    return IsRead(counts, bytes) && counts.realtime_count >= 0 && counts.policy_count >= 0 && counts.tool_count >= 0;
}

class RecordsChecked : public testing::Test {
  protected:
    RecordsChecked() { Varnok::Global::pins()->logging = 0; }

    bool CheckReads(StoreKind kind, std::string const& bytes) {
        // Not at the file's start, and with something behind.
        WriteBytes(root_ / "records", "before" + bytes + "behind");
        torvane::FileView const file(root_ / "records");
        torvane::RecordCheck check(kind, file);
        return check.WhyNotDecodable(6, static_cast<std::uint32_t>(bytes.size())) == nullptr;
    }

    void ExpectSame(StoreKind kind, std::string const& bytes) {
        EXPECT_EQ(CheckReads(kind, bytes), LibraryReads(kind, bytes))
            << NameOf(kind) << ' ' << testing::PrintToString(bytes);
    }

    void ExpectSameOfDamaged(StoreKind kind, std::string const& sound) {
        ASSERT_TRUE(CheckReads(kind, sound));
        for (std::size_t at = 0; at < sound.size(); ++at) {
            for (char const byte : {'\0', '\1', '\x7f', '\xff'}) {
                std::string bytes = sound;
                bytes[at] = byte;
                ExpectSame(kind, bytes);
            }
        }
        for (std::size_t length = 1; length < sound.size(); ++length)
            ExpectSame(kind, sound.substr(0, length));
        ExpectSame(kind, sound + "x");
        ExpectSame(kind, sound + sound);
    }

    TempRoot root_;
};

TEST_F(RecordsChecked, AnswersAreReadExactlyWhenTheLibraryReadsThem) {
    ExpectSameOfDamaged(StoreKind::kTemplate, AnAnswer());
}

TEST_F(RecordsChecked, FindingsAreReadExactlyWhenTheLibraryReadsThem) {
    ExpectSameOfDamaged(StoreKind::kTask, AFinding());
}

TEST_F(RecordsChecked, CountsAreReadExactlyWhenTheLibraryReadsThem) {
    ExpectSameOfDamaged(StoreKind::kCounter, Counts());
}

TEST_F(RecordsChecked, ARecordThatTheFileDoesNotHoldWholeIsNotRead) {
    std::string const bytes = AnAnswer();
    WriteBytes(root_ / "records", bytes.substr(0, bytes.size() - 1));
    torvane::FileView const file(root_ / "records");
    torvane::RecordCheck check(StoreKind::kTemplate, file);
    EXPECT_NE(check.WhyNotDecodable(0, static_cast<std::uint32_t>(bytes.size())), nullptr);
}

// Bytes that this process has read so far.
std::uint64_t BytesRead() {
    std::ifstream io("/proc/self/io");
    std::string word;
    std::uint64_t bytes = 0;
    io >> word >> bytes;
    return bytes;
}

TEST(RecordCheck, ReadsLittleOfRecordsInNoOrder) {
    TempRoot const root;
    constexpr std::uint64_t kGap = 1U << 16U;
    std::string bytes;
    for (int i = 0; i < 64; ++i)
        bytes += Counts() + std::string(kGap - 16, '\0');
    WriteBytes(root / "data", bytes);
    torvane::FileView const data(root / "data");
    torvane::RecordCheck check(StoreKind::kCounter, data, 4096);
    std::uint64_t const before = BytesRead();
    for (std::uint64_t i = 64; i-- > 0;)
        EXPECT_EQ(check.WhyNotDecodable(i * kGap, 16), nullptr);
    EXPECT_GT(BytesRead() - before, 64U * 16);
    EXPECT_LT(BytesRead() - before, 64U * 8192);
}

}  // namespace
