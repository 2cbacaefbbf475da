#include "host/policy/QVKKeywordText.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/host/policy/TextBytes.h"
#include "tests/support/TempRoot.h"

namespace {

using texts::Full;
using texts::kFullBytes;

std::string ToBytes(QVKKeywordText const& text) {
    char* buf = nullptr;
    long long len = 0;
    EXPECT_TRUE(text.to_buffer(buf, len));
    std::unique_ptr<char[]> const owner(buf);
    return std::string(buf, static_cast<std::size_t>(len));
}

bool FromBytes(QVKKeywordText& text, std::string const& bytes) {
    return text.from_buffer(bytes.data(), static_cast<long long>(bytes.size()));
}

TEST(QVKKeywordText, MakesTheDocumentedBytes) {
    EXPECT_EQ(ToBytes(Full()), kFullBytes);
}

TEST(QVKKeywordText, ReadsTheDocumentedBytes) {
    QVKKeywordText text;
    ASSERT_TRUE(FromBytes(text, kFullBytes));
    EXPECT_EQ(text, Full());
}

TEST(QVKKeywordText, AnEmptyRecordIsNotAnEmptyBuffer) {
    std::string const bytes = ToBytes(QVKKeywordText());
    EXPECT_EQ(bytes, FromHex("01") + std::string(28, '\0'));
    QVKKeywordText text = Full();
    ASSERT_TRUE(FromBytes(text, bytes));
    EXPECT_EQ(text, QVKKeywordText());
}

TEST(QVKKeywordText, LinesWithoutPositionsComeBack) {
    QVKKeywordText written;
    written.line_positions = {{1, {}}, {-2, {{0, 0}}}, {3, {}}};
    QVKKeywordText read;
    ASSERT_TRUE(FromBytes(read, ToBytes(written)));
    EXPECT_EQ(read, written);
}

TEST(QVKKeywordText, NothingIsRefusedAndResetsTheRecord) {
    for (auto const& [buf, len] : {std::pair<char const*, long long>(nullptr, 29), {"\x01", 0}, {"\x01", -1}}) {
        QVKKeywordText text = Full();
        EXPECT_FALSE(text.from_buffer(buf, len));
        EXPECT_EQ(text, QVKKeywordText());
    }
}

TEST(QVKKeywordText, EveryCutIsRefusedAndResetsTheRecord) {
    std::string const bytes = kFullBytes;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        QVKKeywordText text = Full();
        EXPECT_FALSE(FromBytes(text, bytes.substr(0, length))) << length;
        EXPECT_EQ(text, QVKKeywordText());
    }
}

TEST(QVKKeywordText, BytesAfterTheRecordAreRefused) {
    QVKKeywordText text;
    EXPECT_FALSE(FromBytes(text, kFullBytes + '\0'));
}

TEST(QVKKeywordText, AnotherVersionIsRefused) {
    std::string bytes = kFullBytes;
    bytes[0] = 2;
    QVKKeywordText text;
    EXPECT_FALSE(FromBytes(text, bytes));
}

TEST(QVKKeywordText, HostileCountsAreRefused) {
    for (std::size_t const offset : {1U, 9U, 17U, 37U, 45U, 49U, 55U, 63U}) {
        for (char const* count : {"FFFFFFFF", "00000080", "FFFFFF7F", "10270000"}) {
            std::string bytes = kFullBytes;
            bytes.replace(offset, 4, FromHex(count));
            QVKKeywordText text = Full();
            EXPECT_FALSE(FromBytes(text, bytes)) << offset << " " << count;
            EXPECT_EQ(text, QVKKeywordText());
        }
    }
}

TEST(QVKKeywordText, ResetLeavesADefaultRecord) {
    QVKKeywordText text = Full();
    text.reset_to_default();
    EXPECT_EQ(text, QVKKeywordText());
}

}  // namespace
