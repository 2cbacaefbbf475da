// An index that is too large for memory is read piece by piece: that must find the same.
#include "tools/torvane/check/Extents.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "storage/DLPCacheIndex.h"
#include "tests/support/TempRoot.h"
#include "tools/torvane/check/OverlapCheck.h"

namespace {

using testing::ElementsAreArray;

constexpr std::size_t kFew = 64;
constexpr int kKeys = 1000;
constexpr int kRecord = 10;  // bytes of each

std::string KeyNumber(int number) {
    char text[33];
    (void)std::snprintf(text, sizeof text, "%032x", static_cast<unsigned>(number));
    return text;
}

class ExtentsOf : public testing::Test {
  protected:
    // Every key in a random order, every third one twice: the second time without its record.
    ExtentsOf() : path_(root_ / "index") {
        DLPCache::Index const index{HString(path_)};
        EXPECT_EQ(index.Init(997), 0);
        std::mt19937 random(7);
        std::vector<int> keys(kKeys);
        for (int i = 0; i < kKeys; ++i)
            keys[static_cast<std::size_t>(i)] = i;
        std::shuffle(keys.begin(), keys.end(), random);
        for (int const key : keys)
            (void)index.Add(KeyNumber(key), key * kRecord, kRecord);
        for (int const key : keys) {
            if (key % 3 == 0) (void)index.Add(KeyNumber(key), kKeys * kRecord, kRecord);
        }
    }

    struct Outcome {
        std::uint64_t repeats = 0;
        std::vector<std::int64_t> offsets;
        std::uint64_t covered = 0;
        std::uint64_t answers = 0;
    };
    [[nodiscard]] Outcome With(std::size_t limit) const {
        torvane::IndexView const view(path_);
        torvane::IndexShape const shape{false, 997, 997, view.slots()};
        std::vector<bool> answers(view.slots() + 1);
        torvane::Extents extents(view.file(), shape, answers, limit);
        torvane::ForEachSlot(view.file(), 1, view.slots(), [&](std::uint64_t number, torvane::RawSlot slot) {
            if (!slot.IsUsed()) return;
            answers[number] = true;
            extents.Add(number, slot, number <= 997 && slot.next() == 0);
        });
        Outcome outcome;
        outcome.repeats = extents.DropRepeats();
        torvane::OverlapCheck overlaps([](auto const&, auto const&) { ADD_FAILURE() << "no records overlap"; });
        extents.ForEachByOffset(kKeys * kRecord + kRecord, [&](torvane::Extent const& extent) {
            outcome.offsets.push_back(extent.offset);
            overlaps.Visit(extent);
        });
        outcome.covered = overlaps.covered();
        outcome.answers = static_cast<std::uint64_t>(std::count(answers.begin(), answers.end(), true));
        return outcome;
    }

    TempRoot root_;
    std::string path_;
};

TEST_F(ExtentsOf, AnIndexThatFitsIntoMemoryAreInTheOrderOfTheirRecords) {
    Outcome const outcome = With(100000);
    EXPECT_GE(outcome.answers, kKeys - 10U);  // but for the keys of bucket 0
    EXPECT_EQ(outcome.offsets.size(), outcome.answers);
    EXPECT_TRUE(std::is_sorted(outcome.offsets.begin(), outcome.offsets.end()));
    EXPECT_EQ(outcome.covered, outcome.answers * kRecord);
    EXPECT_GE(outcome.repeats, 300U);
}

TEST_F(ExtentsOf, AnIndexThatDoesNotFitAreTheSame) {
    Outcome const whole = With(100000);
    Outcome const pieces = With(kFew);
    EXPECT_EQ(pieces.repeats, whole.repeats);
    EXPECT_EQ(pieces.answers, whole.answers);
    EXPECT_THAT(pieces.offsets, ElementsAreArray(whole.offsets));
    EXPECT_EQ(pieces.covered, whole.covered);
}

}  // namespace
