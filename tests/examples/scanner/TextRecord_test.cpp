#include "examples/scanner/TextRecord.h"

#include <gmock/gmock.h>

#include <string>

namespace scanner {
namespace {

using testing::ElementsAre;

std::string Inline(QVKKeywordText const& record) {
    return record.text.get_str();
}

TEST(TextRecords, HoldMatchedLinesAndPositions) {
    QVKKeywordText const record = MakeTextRecord("t", "none\nab key ab\nnone\nkey", {{20, 23}, {8, 11}, {5, 7}});
    EXPECT_EQ(record.tpl_id, "t");
    EXPECT_EQ(Inline(record), "ab key ab\nkey");
    ASSERT_EQ(record.line_positions.size(), 2U);
    EXPECT_EQ(record.line_positions[0].line, 2);
    EXPECT_THAT(record.line_positions[0].positions, ElementsAre(QVKKeywordPos{0, 2}, QVKKeywordPos{3, 6}));
    EXPECT_EQ(record.line_positions[1].line, 4);
    EXPECT_THAT(record.line_positions[1].positions, ElementsAre(QVKKeywordPos{0, 3}));
}

TEST(TextRecords, CountPositionsInUnits) {
    std::string const text = "\xc3\xa4\xf0\x9f\x98\x80 key";  // one unit, two units, a blank
    QVKKeywordText const record = MakeTextRecord("t", text, {{7, 10}});
    EXPECT_THAT(record.line_positions.at(0).positions, ElementsAre(QVKKeywordPos{4, 7}));
}

TEST(TextRecords, KeepOnlyTheFirstLines) {
    std::string text;
    std::vector<Match> matches;
    for (int i = 0; i < 100; ++i) {
        matches.push_back({text.size(), text.size() + 3});
        text += "key\n";
    }
    EXPECT_EQ(MakeTextRecord("t", text, matches).line_positions.size(), kMostLines);
}

TEST(TextRecords, CutLongLinesBetweenCharacters) {
    std::string text(kMostLineBytes - 1, 'x');
    text += "\xc3\xa4" + std::string(100000, 'y');
    QVKKeywordText const record = MakeTextRecord("t", text, {{50000, 50001}});
    EXPECT_EQ(Inline(record), std::string(kMostLineBytes - 1, 'x'));
    EXPECT_THAT(record.line_positions.at(0).positions, ElementsAre(QVKKeywordPos{49999, 50000}));
}

TEST(TextRecords, CountAMatchOverSeveralLinesToTheFirstLinesEnd) {
    QVKKeywordText const record = MakeTextRecord("t", "one\ntwo", {{1, 6}});
    EXPECT_EQ(Inline(record), "one");
    EXPECT_THAT(record.line_positions.at(0).positions, ElementsAre(QVKKeywordPos{1, 3}));
}

TEST(TextRecords, OfFileAttributesHoldNoLines) {
    QVKKeywordText const record = MakeTextRecord("t", "text", {});
    EXPECT_EQ(record.tpl_id, "t");
    EXPECT_TRUE(record.text.empty());
    EXPECT_TRUE(record.line_positions.empty());
}

}  // namespace
}  // namespace scanner
