#include "examples/scanner/TextExtractor.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/examples/scanner/TempTree.h"

namespace scanner {
namespace {

class TextExtraction : public testing::Test {
  protected:
    std::string Text(std::string const& content) {
        last_ = extractor_.Extract(content);
        return std::string(last_.text);
    }

    TextExtractor extractor_;
    ExtractedText last_;
};

TEST_F(TextExtraction, TakesPlainTextAsItIs) {
    EXPECT_EQ(Text("plain"), "plain");
    EXPECT_FALSE(last_.inflated);
    EXPECT_EQ(Text(""), "");
}

TEST_F(TextExtraction, FindsNoTextInBinaryContent) {
    EXPECT_EQ(Text(std::string("ab\0cd", 5)), "");
    EXPECT_EQ(Text(Gzip(std::string("ab\0cd", 5))), "");
}

TEST_F(TextExtraction, ProbesOnlyTheBeginningForZeroBytes) {
    std::string const late = std::string(TextExtractor::kProbe, 'x') + std::string(1, '\0');
    EXPECT_EQ(Text(late), late);
}

TEST_F(TextExtraction, InflatesGzip) {
    EXPECT_EQ(Text(Gzip("packed text")), "packed text");
    EXPECT_TRUE(last_.inflated);
    EXPECT_FALSE(last_.damaged);
}

TEST_F(TextExtraction, InflatesMoreThanItsFirstBufferAndIsUsedAgain) {
    std::string const large(3000000, 'x');
    EXPECT_EQ(Text(Gzip(large)), large);
    EXPECT_EQ(Text(Gzip("small")), "small");
}

TEST_F(TextExtraction, InflatesEveryMember) {
    EXPECT_EQ(Text(Gzip("one, ") + Gzip("two")), "one, two");
    EXPECT_FALSE(last_.damaged);
}

TEST_F(TextExtraction, IgnoresWhatFollowsTheLastMember) {
    EXPECT_EQ(Text(Gzip("text") + "padding"), "text");
    EXPECT_FALSE(last_.damaged);
}

TEST_F(TextExtraction, KeepsWhatCameBeforeTheEndOfACutFile) {
    std::string content;
    for (int i = 0; i < 20000; ++i)
        content += std::to_string(i * 7919);
    std::string const packed = Gzip(content);
    std::string const text = Text(packed.substr(0, packed.size() / 2));
    EXPECT_TRUE(last_.damaged);
    EXPECT_GT(text.size(), content.size() / 4);
    EXPECT_TRUE(content.starts_with(text));
}

TEST_F(TextExtraction, NoticesDamage) {
    std::string packed = Gzip("text with a check sum");
    packed[packed.size() - 6] = static_cast<char>(packed[packed.size() - 6] ^ 1);  // in the CRC-32
    Text(packed);
    EXPECT_TRUE(last_.damaged);
    EXPECT_EQ(Text("\x1f\x8b"), "");
    EXPECT_TRUE(last_.damaged);
}

TEST_F(TextExtraction, IsNotAfraidOfBombs) {
    std::string member = Gzip(std::string(std::size_t{16} << 20, 'x'));
    std::string bomb;
    for (int i = 0; i < 6; ++i)
        bomb += member;  // 96 MiB in 96 KiB
    EXPECT_EQ(extractor_.Extract(bomb).text.size(), TextExtractor::kMostText);
    EXPECT_TRUE(extractor_.Extract(bomb).cut);
}

}  // namespace
}  // namespace scanner
