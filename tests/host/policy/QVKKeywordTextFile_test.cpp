#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>

#include "host/policy/ArchiveFile.h"
#include "host/policy/QVKKeywordText.h"
#include "tests/host/policy/TextBytes.h"
#include "tests/support/EveryDamage.h"
#include "tests/support/TempRoot.h"

namespace {

using texts::Full;

// The head as of every archive, then the record as in a buffer.
std::string const& kBody = texts::kFullBytes;
std::string const kFile = FromHex("54564152 01000000 4b545854 01000000 4b000000 28a73f12") + kBody;  // "KTXT", 75 bytes

class QVKKeywordTextFile : public testing::Test {
  protected:
    TempRoot root;
    std::string const path = root / "text.arc";

    void ExpectRefused(std::string const& bytes) {
        WriteBytes(path, bytes);
        QVKKeywordText text = Full();
        EXPECT_EQ(text.from_file(path), EBADMSG);
        EXPECT_EQ(text, QVKKeywordText());
    }
    void ExpectBodyRefused(std::string_view body, std::uint32_t count = 1) {
        ExpectRefused(Varnok::PackArchive("KTXT", count, body));
    }
};

TEST_F(QVKKeywordTextFile, IsTheDocumentedOne) {
    ASSERT_EQ(Full().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFile);
}

TEST_F(QVKKeywordTextFile, ComesBack) {
    WriteBytes(path, kFile);
    QVKKeywordText text;
    text.text_path = "from before";
    ASSERT_EQ(text.from_file(path), 0);
    EXPECT_EQ(text, Full());
}

TEST_F(QVKKeywordTextFile, OfAnEmptyTextComesBack) {
    ASSERT_EQ(QVKKeywordText().to_file(path), 0);
    QVKKeywordText text = Full();
    ASSERT_EQ(text.from_file(path), 0);
    EXPECT_EQ(text, QVKKeywordText());
}

TEST_F(QVKKeywordTextFile, OfALongTextComesBack) {
    QVKKeywordText written = Full();
    written.text = HString(std::string(1 << 20, 'x'));
    written.second_positions.assign(100000, {1, 2});
    ASSERT_EQ(written.to_file(path), 0);
    QVKKeywordText read;
    ASSERT_EQ(read.from_file(path), 0);
    EXPECT_EQ(read, written);
}

TEST_F(QVKKeywordTextFile, IsReplacedWhole) {
    WriteBytes(path, std::string(10000, 'x'));
    ASSERT_EQ(Full().to_file(path), 0);
    EXPECT_EQ(ReadBytes(path), kFile);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root.Path()), {}), 1);
}

TEST_F(QVKKeywordTextFile, NeverMakesADirectory) {
    EXPECT_EQ(Full().to_file(root / "missing/text.arc"), ENOENT);
    EXPECT_FALSE(Exists(root / "missing"));
}

TEST_F(QVKKeywordTextFile, ThatIsMissingOrNoFileResetsTheRecord) {
    QVKKeywordText text = Full();
    EXPECT_EQ(text.from_file(path), ENOENT);
    EXPECT_EQ(text, QVKKeywordText());
    text = Full();
    EXPECT_EQ(text.from_file(root.Path()), EISDIR);
    EXPECT_EQ(text, QVKKeywordText());
}

TEST_F(QVKKeywordTextFile, WithAFlippedBitIsRefused) {
    ForEveryFlippedBit(kFile, [this](std::string const& bytes) { ExpectRefused(bytes); });
}

TEST_F(QVKKeywordTextFile, ThatIsCutIsRefused) {
    ForEveryCut(kFile, [this](std::string const& bytes) { ExpectRefused(bytes); });
}

TEST_F(QVKKeywordTextFile, WithACutRecordIsRefusedWhateverItsChecksum) {
    ForEveryCut(kBody, [this](std::string const& body) { ExpectBodyRefused(body); });
}

TEST_F(QVKKeywordTextFile, OfAnotherNumberOfRecordsIsRefused) {
    ExpectBodyRefused(kBody, 0);
    ExpectBodyRefused(kBody, 2);
    ExpectBodyRefused(kBody + kBody, 2);
    ExpectBodyRefused(kBody + '\0');
}

TEST_F(QVKKeywordTextFile, OfAnotherTableIsRefused) {
    ExpectRefused(Varnok::PackArchive("STSK", 1, kBody));
}

}  // namespace
