#include "host/policy/QVKKeywordText.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/TempRoot.h"

namespace {

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

QVKKeywordText Full() {
    QVKKeywordText text;
    text.tpl_id = "T1";
    text.line_positions = {{7, {{1, 4}, {-1, 0x01020304}}}};
    text.text = "ab";
    text.second_text = "\x80";
    text.second_text_path = "/p";
    text.second_positions = {{5, 6}};
    return text;
}

// Put together by hand from the layout that the header gives.
std::string FullBytes() {
    return FromHex(
        "01"                                   // version
        "02000000 5400 3100"                   // "T1"
        "01000000"                             // one line:
        "07000000 02000000"                    // number 7, two positions
        "01000000 04000000 FFFFFFFF 04030201"  //
        "02000000 6100 6200"                   // "ab"
        "00000000"                             // no path
        "01000000 80DC"                        // a byte that is not UTF-8
        "02000000 2F00 7000"                   // "/p"
        "01000000 05000000 06000000");         // one position
}

TEST(QVKKeywordText, MakesTheDocumentedBytes) {
    EXPECT_EQ(ToBytes(Full()), FullBytes());
}

TEST(QVKKeywordText, ReadsTheDocumentedBytes) {
    QVKKeywordText text;
    ASSERT_TRUE(FromBytes(text, FullBytes()));
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
    std::string const bytes = FullBytes();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        QVKKeywordText text = Full();
        EXPECT_FALSE(FromBytes(text, bytes.substr(0, length))) << length;
        EXPECT_EQ(text, QVKKeywordText());
    }
}

TEST(QVKKeywordText, BytesAfterTheRecordAreRefused) {
    QVKKeywordText text;
    EXPECT_FALSE(FromBytes(text, FullBytes() + '\0'));
}

TEST(QVKKeywordText, AnotherVersionIsRefused) {
    std::string bytes = FullBytes();
    bytes[0] = 2;
    QVKKeywordText text;
    EXPECT_FALSE(FromBytes(text, bytes));
}

TEST(QVKKeywordText, HostileCountsAreRefused) {
    for (std::size_t const offset : {1U, 9U, 17U, 37U, 45U, 49U, 55U, 63U}) {
        for (char const* count : {"FFFFFFFF", "00000080", "FFFFFF7F", "10270000"}) {
            std::string bytes = FullBytes();
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
