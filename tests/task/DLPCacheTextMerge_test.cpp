#include "task/DLPCacheTextMerge.h"

#include <algorithm>
#include <climits>
#include <map>
#include <random>

#include "task/DLPCacheTaskMgr.h"
#include "tests/support/TempRoot.h"

namespace {

using Lines = std::vector<QVKKeywordLinePos>;
using Positions = std::vector<QVKKeywordPos>;
using testing::IsEmpty;

QVKKeywordText TextOf(Lines const& lines) {
    QVKKeywordText text;
    text.line_positions = lines;
    return text;
}

// The positions of one line after merging.
Positions MergeLine(Positions const& positions) {
    QVKKeywordText merged;
    DLPCache::MergeTexts({TextOf({{5, positions}})}, merged);
    EXPECT_EQ(merged.line_positions.size(), 1U);
    return merged.line_positions.at(0).positions;
}

TEST(DLPCacheTextMergeTest, TwoTextsThatMarkOneLineGiveOneLineWithThePositionsOfBoth) {
    QVKKeywordText merged;
    DLPCache::MergeTexts({TextOf({{5, {{6, 8}, {20, 22}}}}), TextOf({{5, {{1, 4}, {21, 25}}}})}, merged);
    EXPECT_EQ(merged.line_positions, (Lines{{5, {{1, 4}, {6, 8}, {20, 25}}}}));
}

TEST(DLPCacheTextMergeTest, PositionWithinAnotherShortensTheSpan) {
    EXPECT_EQ(MergeLine({{1, 10}, {2, 5}}), (Positions{{1, 5}}));
    EXPECT_EQ(MergeLine({{2, 5}, {1, 10}}), (Positions{{1, 5}}));
}

TEST(DLPCacheTextMergeTest, PositionsApartStayApart) {
    EXPECT_EQ(MergeLine({{6, 8}, {1, 4}}), (Positions{{1, 4}, {6, 8}}));
}

TEST(DLPCacheTextMergeTest, PositionsThatTouchAreJoinedAndNeighboursAreNot) {
    EXPECT_EQ(MergeLine({{1, 4}, {4, 8}}), (Positions{{1, 8}}));
    EXPECT_EQ(MergeLine({{1, 4}, {5, 8}}), (Positions{{1, 4}, {5, 8}}));
}

TEST(DLPCacheTextMergeTest, OfPositionsThatBeginTogetherTheLongestStays) {
    EXPECT_EQ(MergeLine({{1, 9}, {1, 3}, {1, 5}, {1, 9}}), (Positions{{1, 9}}));
}

TEST(DLPCacheTextMergeTest, ShortenedSpanNoLongerReachesTheNext) {
    EXPECT_EQ(MergeLine({{1, 10}, {2, 5}, {8, 9}}), (Positions{{1, 5}, {8, 9}}));
}

TEST(DLPCacheTextMergeTest, PositionsThatEndBeforeTheyBeginFollowTheSameRule) {
    EXPECT_EQ(MergeLine({{5, 2}, {6, 9}}), (Positions{{5, 2}, {6, 9}}));
    EXPECT_EQ(MergeLine({{5, 2}, {5, -7}}), (Positions{{5, 2}}));
    EXPECT_EQ(MergeLine({{-3, 4}, {INT_MIN, -5}, {INT_MAX, INT_MAX}}),
              (Positions{{INT_MIN, -5}, {-3, 4}, {INT_MAX, INT_MAX}}));
}

TEST(DLPCacheTextMergeTest, LinesComeInAscendingOrderWhateverTheirNumbers) {
    QVKKeywordText merged;
    DLPCache::MergeTexts({TextOf({{9, {}}, {INT_MIN, {{1, 2}}}}), TextOf({{-1, {}}, {INT_MAX, {}}})}, merged);
    EXPECT_EQ(merged.line_positions, (Lines{{INT_MIN, {{1, 2}}}, {-1, {}}, {9, {}}, {INT_MAX, {}}}));
}

TEST(DLPCacheTextMergeTest, LineMentionedTwiceInOneTextIsOneLine) {
    QVKKeywordText merged;
    DLPCache::MergeTexts({TextOf({{5, {{1, 2}}}, {5, {{7, 8}}}})}, merged);
    EXPECT_EQ(merged.line_positions, (Lines{{5, {{1, 2}, {7, 8}}}}));
}

class MergedTextTest : public testing::Test {
  protected:
    MergedTextTest() {
        texts_ = {TextOf({{2, {{1, 2}}}}), TextOf({{1, {{3, 4}}}})};
        texts_[0].tpl_id = "T1";
        texts_[0].text = "first";
        texts_[0].second_positions = {{5, 6}};
        texts_[1].tpl_id = "T2";
        texts_[1].text = "second";
        expected_ = texts_[0];
        expected_.line_positions = {{1, {{3, 4}}}, {2, {{1, 2}}}};
    }

    std::vector<QVKKeywordText> texts_;
    QVKKeywordText expected_;
};

TEST_F(MergedTextTest, IsTheFirstTextButForThePositions) {
    QVKKeywordText merged;
    merged.text_path = "used before";
    DLPCache::MergeTexts(texts_, merged);
    EXPECT_EQ(merged, expected_);
}

TEST_F(MergedTextTest, MayBeAnyOfTheTexts) {
    for (std::size_t const index : {0U, 1U}) {
        auto texts = texts_;
        DLPCache::MergeTexts(texts, texts[index]);
        EXPECT_EQ(texts[index], expected_) << index;
    }
}

TEST_F(MergedTextTest, WithoutTextsLosesItsPositionsAlone) {
    QVKKeywordText merged = texts_[0];
    DLPCache::MergeTexts({}, merged);
    QVKKeywordText expected = texts_[0];
    expected.line_positions.clear();
    EXPECT_EQ(merged, expected);
}

TEST_F(MergedTextTest, IsWhatTheRegistryGives) {
    TempRoot const root;
    DLPCacheTaskMgr const registry;
    QVKKeywordText merged;
    registry.MergeMatchFileText(texts_, merged);
    EXPECT_EQ(merged, expected_);
}

// The walk as it is told: from one position to the next, and on the same place after every removal.
void Walk(Positions& positions) {
    for (std::size_t i = 1; i < positions.size();) {
        QVKKeywordPos& before = positions[i - 1];
        QVKKeywordPos const& here = positions[i];
        auto const at = positions.begin() + static_cast<std::ptrdiff_t>(i);
        if (here.start == before.start) {
            positions.erase(here.end < before.end ? at : at - 1);
        } else if (here.start > before.end) {
            ++i;
        } else {
            before.end = here.end;
            positions.erase(at);
        }
    }
}

Lines Model(std::vector<QVKKeywordText> const& texts) {
    std::map<int, QVKKeywordLinePos> lines;
    for (auto const& text : texts) {
        for (auto const& line : text.line_positions) {
            auto const [entry, first] = lines.try_emplace(line.line, line);
            auto& positions = entry->second.positions;
            if (!first) positions.insert(positions.end(), line.positions.begin(), line.positions.end());
        }
    }
    Lines merged;
    for (auto& [number, line] : lines) {
        std::sort(line.positions.begin(), line.positions.end(),
                  [](auto const& a, auto const& b) { return a.start != b.start ? a.start < b.start : a.end < b.end; });
        Walk(line.positions);
        merged.push_back(line);
    }
    return merged;
}

TEST(DLPCacheTextMergeModelTest, SinglePassGivesWhatTheWalkGives) {
    unsigned const seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    auto const below = [&random](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
    for (int round = 0; round < 3000; ++round) {
        int const width = 1 + below(40);
        std::vector<QVKKeywordText> texts(static_cast<std::size_t>(below(5)));
        for (auto& text : texts) {
            for (int line = below(6); line > 0; --line) {
                auto& positions = text.line_positions.emplace_back(QVKKeywordLinePos{below(5) - 2, {}}).positions;
                for (int count = below(12); count > 0; --count) {
                    int const start = below(width) - width / 2;
                    positions.push_back({start, start - 2 + below(10)});
                }
            }
        }
        QVKKeywordText merged;
        DLPCache::MergeTexts(texts, merged);
        ASSERT_EQ(merged.line_positions, Model(texts)) << "round " << round;
    }
}

}  // namespace
