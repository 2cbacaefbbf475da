#include "host/policy/QVKTable.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <limits>
#include <string>

#include "tests/host/policy/DefinitionBuilder.h"
#include "tests/support/TempRoot.h"

namespace {

// The files below were put together by hand from the layout in docs/formats.md; the four bytes at offset 20 are what
// zlib's crc32 gives for bytes 0 to 19 followed by the body.

std::string const kTemplates = FromHex(
    "54 56 41 52 01 00 00 00 4b 54 50 4c 01 00 00 00 3a 00 00 00 d1 6b bc 23"  // "TVAR", 1, "KTPL", 1 record, 58 bytes
    "02 00 00 00 00 00 00 00 02 00 00 00 54 00 31 00 01 00 00 00 6e 00"        // time 2, "T1", "n"
    "02 00 00 00 43 00 31 00 02 00 00 00 4c 00 31 00"                          // class "C1", level "L1"
    "02 00 00 00 02 00 00 00 52 00 31 00 02 00 00 00 52 00 32 00");            // rules "R1", "R2"

std::string const kRules = FromHex(
    "54 56 41 52 01 00 00 00 4b 46 4d 54 01 00 00 00 2c 00 00 00 fd 78 e6 0f"
    "01 00 00 00 00 00 00 00 02 00 00 00 52 00 31 00 00 00 00 00"  // time 1, "R1", no name
    "e9 03 00 00 01 00 00 00 01 00 00 00 61 00 01 00 00 00 e9 00"  // sub-type 1001, type 1, "a", "é"
    "02 00 00 00");                                                // least count 2

std::string const kDataClasses = FromHex(
    "54 56 41 52 01 00 00 00 4b 43 4c 53 01 00 00 00 22 00 00 00 1d b9 c2 62"
    "00 f1 53 65 00 00 00 00 02 00 00 00 43 00 31 00"          // time 1700000000, "C1"
    "07 00 00 00 50 00 72 00 69 00 76 00 61 00 74 00 65 00");  // "Private"

std::string const kDataLevels = FromHex(
    "54 56 41 52 01 00 00 00 4b 4c 56 4c 01 00 00 00 1e 00 00 00 21 0d 69 4a"
    "00 00 00 00 00 00 00 00 02 00 00 00 4c 00 31 00 03 00 00 00 54 00 6f 00 70 00"  // "L1", "Top"
    "fd ff ff ff");                                                                  // level -3

std::string const kNoTemplates = FromHex("54 56 41 52 01 00 00 00 4b 54 50 4c 00 00 00 00 00 00 00 00 8b 57 28 3a");

QVKConfigKeywordTemplateVT GoldenTemplates() {
    QVKConfigKeywordTemplateVT table;
    table.nodes = {definitions::Template("T1", {"R1", "R2"})};
    table.nodes[0].common->update_time = 2;
    table.nodes[0].common->name = "n";
    return table;
}

class QVKTableTest : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "table.arc";

    void Put(std::string const& bytes) { WriteBytes(path, bytes); }

    // Reads `bytes` into a table that held a record before; expects it to be refused and the table to be empty.
    template <class Table>
    void ExpectRefused(std::string const& bytes) {
        Put(bytes);
        Table table;
        table.nodes.resize(3);
        EXPECT_EQ(table.from_file(path), EBADMSG);
        EXPECT_TRUE(table.nodes.empty());
    }
};

TEST_F(QVKTableTest, WritesTheDocumentedTemplateFile) {
    ASSERT_EQ(GoldenTemplates().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kTemplates);
}

TEST_F(QVKTableTest, ReadsTheDocumentedTemplateFile) {
    Put(kTemplates);
    QVKConfigKeywordTemplateVT table;
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_EQ(table.nodes.size(), 1U);
    EXPECT_EQ(table.nodes[0].common->update_time, 2);
    EXPECT_EQ(table.nodes[0].common->id, HString("T1"));
    EXPECT_EQ(table.nodes[0].common->name, HString("n"));
    EXPECT_EQ(table.nodes[0].data_class_id, HString("C1"));
    EXPECT_EQ(table.nodes[0].data_level_id, HString("L1"));
    EXPECT_EQ(table.nodes[0].rule_ids, (std::vector<HString>{"R1", "R2"}));
}

TEST_F(QVKTableTest, WritesAndReadsTheDocumentedRuleFile) {
    Put(kRules);
    QVKConfigKeywordFormatItemVT table;
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_EQ(table.nodes.size(), 1U);
    EXPECT_EQ(table.nodes[0].common->id, HString("R1"));
    EXPECT_EQ(table.nodes[0].sub_type, 1001);
    EXPECT_EQ(table.nodes[0].rule_type, 1);
    EXPECT_EQ(table.nodes[0].rule_text, HString("a"));
    EXPECT_EQ(table.nodes[0].description, HString("\xC3\xA9"));
    EXPECT_EQ(table.nodes[0].min_count, 2);
    ASSERT_EQ(table.to_file(root / "again.arc"), 0);
    EXPECT_EQ(ReadBytes(root / "again.arc"), kRules);
}

TEST_F(QVKTableTest, WritesAndReadsTheDocumentedDataClassFile) {
    Put(kDataClasses);
    QVKConfigKeywordDataClassVT table;
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_EQ(table.nodes.size(), 1U);
    EXPECT_EQ(table.nodes[0].common->update_time, 1700000000);
    EXPECT_EQ(table.nodes[0].common->id, HString("C1"));
    EXPECT_EQ(table.nodes[0].common->name, HString("Private"));
    ASSERT_EQ(table.to_file(root / "again.arc"), 0);
    EXPECT_EQ(ReadBytes(root / "again.arc"), kDataClasses);
}

TEST_F(QVKTableTest, WritesAndReadsTheDocumentedDataLevelFile) {
    Put(kDataLevels);
    QVKConfigKeywordDataLevelVT table;
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_EQ(table.nodes.size(), 1U);
    EXPECT_EQ(table.nodes[0].common->id, HString("L1"));
    EXPECT_EQ(table.nodes[0].common->name, HString("Top"));
    EXPECT_EQ(table.nodes[0].level, -3);
    ASSERT_EQ(table.to_file(root / "again.arc"), 0);
    EXPECT_EQ(ReadBytes(root / "again.arc"), kDataLevels);
}

TEST_F(QVKTableTest, AnEmptyTableIsAFileToo) {
    ASSERT_EQ(QVKConfigKeywordTemplateVT().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kNoTemplates);
    QVKConfigKeywordTemplateVT table = GoldenTemplates();
    EXPECT_EQ(table.from_file(path), 0);
    EXPECT_TRUE(table.nodes.empty());
}

TEST_F(QVKTableTest, ManyRecordsComeBackInOrder) {
    QVKConfigKeywordFormatItemVT written;
    for (int i = 0; i < 1000; ++i) {
        QVKConfigKeywordFormatItemNode rule = definitions::Rule("", 2000 - i, "\xFF hostile \xF0\x9F\x98\x80");
        rule.common->id = HString(i);
        rule.common->update_time = std::numeric_limits<long long>::min() + i;
        rule.min_count = std::numeric_limits<int>::max() - i;
        written.nodes.push_back(rule);
    }
    ASSERT_EQ(written.to_file(path), 0);
    QVKConfigKeywordFormatItemVT read;
    ASSERT_EQ(read.from_file(path), 0);
    ASSERT_EQ(read.nodes.size(), 1000U);
    for (std::size_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(read.nodes[i].common->id, HString(static_cast<int>(i)));
        EXPECT_EQ(read.nodes[i].common->update_time, written.nodes[i].common->update_time);
        EXPECT_EQ(read.nodes[i].rule_text, written.nodes[i].rule_text);
        EXPECT_EQ(read.nodes[i].min_count, written.nodes[i].min_count);
    }
}

TEST_F(QVKTableTest, ARecordWithoutACommonPartIsKeptAsOneWithAnEmptyId) {
    QVKConfigKeywordDataClassVT table;
    table.nodes.resize(1);
    table.nodes[0].common = nullptr;
    ASSERT_EQ(table.to_file(path), 0);
    ASSERT_EQ(table.from_file(path), 0);
    ASSERT_NE(table.nodes.at(0).common, nullptr);
    EXPECT_TRUE(table.nodes[0].common->id.empty());
}

TEST_F(QVKTableTest, AMissingFileIsReportedAsMissing) {
    QVKConfigKeywordTemplateVT table = GoldenTemplates();
    EXPECT_EQ(table.from_file(path), ENOENT);
    EXPECT_TRUE(table.nodes.empty());
}

TEST_F(QVKTableTest, AFlippedBitInAnyByteIsRefused) {
    for (std::size_t offset = 0; offset < kTemplates.size(); ++offset) {
        std::string bytes = kTemplates;
        bytes[offset] = static_cast<char>(bytes[offset] ^ (1 << (offset % 8)));
        ExpectRefused<QVKConfigKeywordTemplateVT>(bytes);
    }
}

TEST_F(QVKTableTest, EveryCutFileIsRefused) {
    for (std::size_t length = 0; length < kTemplates.size(); ++length)
        ExpectRefused<QVKConfigKeywordTemplateVT>(kTemplates.substr(0, length));
}

TEST_F(QVKTableTest, BytesAfterTheBodyAreRefused) {
    ExpectRefused<QVKConfigKeywordTemplateVT>(kTemplates + '\0');
    ExpectRefused<QVKConfigKeywordTemplateVT>(kTemplates + kTemplates);
}

TEST_F(QVKTableTest, TheFileOfAnotherTableIsRefused) {
    ExpectRefused<QVKConfigKeywordTemplateVT>(kRules);
    ExpectRefused<QVKConfigKeywordFormatItemVT>(kDataClasses);
    ExpectRefused<QVKConfigKeywordDataClassVT>(kDataLevels);
    ExpectRefused<QVKConfigKeywordDataLevelVT>(kTemplates);
    ExpectRefused<QVKConfigKeywordTemplateVT>("no archive at all, but long enough to be one");
}

TEST_F(QVKTableTest, AnythingButARegularFileIsAnErrorAndNotForeign) {
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    QVKConfigKeywordTemplateVT table;
    EXPECT_EQ(table.from_file(path), EINVAL);
    EXPECT_EQ(table.from_file(root.Path()), EISDIR);
}

TEST_F(QVKTableTest, FilesAreForTheirOwnerOnly) {
    ASSERT_EQ(GoldenTemplates().to_file(path), 0);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(QVKTableTest, AFileIsReplacedWhole) {
    Put(kTemplates + kTemplates);
    ASSERT_EQ(QVKConfigKeywordTemplateVT().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kNoTemplates);
}

TEST_F(QVKTableTest, ADirectoryIsNeverMade) {
    EXPECT_EQ(GoldenTemplates().to_file(root / "missing/table.arc"), ENOENT);
    EXPECT_FALSE(Exists(root / "missing"));
}

}  // namespace
