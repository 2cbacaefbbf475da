#include "tools/torvane/rebuild/BucketCount.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "host/base/Murmur3.h"
#include "tools/torvane/check/Slots.h"

namespace torvane {

namespace {

constexpr std::uint32_t kTemplateBuckets = 500000;
constexpr std::uint32_t kCounterBuckets = 100000;

// Keys of the table, by a bucket count.
struct Votes {
    std::uint64_t in_place = 0;
    std::uint64_t misplaced = 0;
};

Votes VotesFor(IndexView const& index, std::uint32_t buckets) {
    Votes votes;
    ForEachSlot(index.file(), 1, std::min<std::uint64_t>(buckets, index.slots()),
                [&](std::uint64_t number, RawSlot slot) {
                    if (!slot.IsUsed() || !slot.HoldsTextKey()) return;
                    ++(slot.BucketOf(buckets) == number ? votes.in_place : votes.misplaced);
                });
    return votes;
}

// Of the first keys of the index: their hash less the number of their slot, which in the table is a multiple of the
// bucket count.
std::vector<std::uint32_t> FirstMultiples(IndexView const& index) {
    constexpr std::size_t kMost = 12;
    std::vector<std::uint32_t> multiples;
    Slot slot;
    std::optional<std::uint64_t> number = index.NextUsed(1, slot);
    for (; number && multiples.size() < kMost; number = index.NextUsed(*number + 1, slot)) {
        std::string const key = IndexView::KeyOf(slot);
        std::uint32_t const hash = Varnok::Murmur3_32(key.data(), static_cast<int>(key.size()));
        if (key.size() == DLPCache::kTextKeyLength && hash >= *number)
            multiples.push_back(hash - static_cast<std::uint32_t>(*number));
    }
    return multiples;
}

// What may be the bucket count: what the library takes, what three keys side by side have in common, most often that
// count itself, and the number of slots, which it is where there are no chains.
std::vector<std::uint32_t> Candidates(IndexView const& index, StoreKind kind) {
    std::vector<std::uint32_t> candidates{UsualBucketCount(kind)};
    auto const add = [&](std::uint64_t count) {
        if (count < 2 || count > index.slots() || count >= DLPCache::IndexHead::kBucketCountLimit) return;
        auto const buckets = static_cast<std::uint32_t>(count);
        bool const is_new = std::find(candidates.begin(), candidates.end(), buckets) == candidates.end();
        if (is_new) candidates.push_back(buckets);
    };
    add(index.slots());
    std::vector<std::uint32_t> const multiples = FirstMultiples(index);
    for (std::size_t i = 2; i < multiples.size(); ++i)
        add(std::gcd(multiples[i], std::gcd(multiples[i - 1], multiples[i - 2])));
    return candidates;
}

// A bucket count and how well the keys fit it.
struct Fit {
    std::uint32_t buckets = 0;
    std::int64_t score = 0;
    bool has_keys = false;
};

Fit FitOf(IndexView const& index, std::uint32_t buckets) {
    Votes const votes = VotesFor(index, buckets);
    auto const score = static_cast<std::int64_t>(votes.in_place) - static_cast<std::int64_t>(votes.misplaced);
    return {buckets, score, votes.in_place + votes.misplaced != 0};
}

// A table that is there as a whole, without a single key, is as good as any.
bool IsWholeAndEmpty(IndexView const& index, Fit const& fit) {
    return !fit.has_keys && fit.buckets <= index.slots();
}

// Of the candidates the one that most keys speak for, the smallest of several; 0 when none has more for it than against
// it. One that is found in few keys may fit them by chance.
Fit BestOf(IndexView const& index, StoreKind kind) {
    constexpr std::int64_t kLeastScore = 3;
    Fit best;
    for (std::uint32_t const buckets : Candidates(index, kind)) {
        Fit const fit = FitOf(index, buckets);
        std::int64_t const least = buckets == UsualBucketCount(kind) ? 1 : kLeastScore;
        bool const is_better = fit.score > best.score || (fit.score == best.score && buckets < best.buckets);
        if (fit.score >= least && is_better) best = fit;
    }
    return best;
}

}  // namespace

std::uint32_t UsualBucketCount(StoreKind kind) {
    return kind == StoreKind::kTemplate ? kTemplateBuckets : kCounterBuckets;
}

std::optional<std::uint32_t> BucketCountByKeys(IndexView const& index, StoreKind kind) {
    if (!index.head()) return std::nullopt;
    int const told = index.head()->bucket_count;
    // It can be asked for; no key is ever stored then.
    if (told < 2 && index.slots() <= static_cast<std::uint64_t>(std::max(told, 0)))
        return index.IsHeadValid() ? std::nullopt : std::optional(static_cast<std::uint32_t>(std::max(told, 0)));
    Fit best = BestOf(index, kind);
    Fit const usual = FitOf(index, UsualBucketCount(kind));
    if (best.buckets == 0 && IsWholeAndEmpty(index, usual)) best = usual;
    if (told < 2 || told >= DLPCache::IndexHead::kBucketCountLimit) return best.buckets;

    Fit const by_head = FitOf(index, static_cast<std::uint32_t>(told));
    bool const is_there = by_head.buckets <= index.slots();
    bool const is_believed = is_there && (by_head.score > 0 || IsWholeAndEmpty(index, by_head) || index.IsHeadValid());
    bool const is_cut_off = !is_there && by_head.score > 0;
    if ((is_believed || is_cut_off) && by_head.score >= best.score)
        return index.IsHeadValid() ? std::nullopt : std::optional(by_head.buckets);
    // What no key speaks for is no better than what a sound head tells.
    if (is_believed && best.score <= 0) return std::nullopt;
    return best.buckets;
}

}  // namespace torvane
