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

// What may be the bucket count: what the library takes, and what three keys side by side have in common, most often
// that count itself.
std::vector<std::uint32_t> Candidates(IndexView const& index, StoreKind kind) {
    std::vector<std::uint32_t> candidates{UsualBucketCount(kind)};
    std::vector<std::uint32_t> const multiples = FirstMultiples(index);
    for (std::size_t i = 2; i < multiples.size(); ++i) {
        std::uint32_t const common = std::gcd(multiples[i], std::gcd(multiples[i - 1], multiples[i - 2]));
        bool const is_possible =
            common >= 2 && common <= index.slots() && common < DLPCache::IndexHead::kBucketCountLimit;
        bool const is_new = std::find(candidates.begin(), candidates.end(), common) == candidates.end();
        if (is_possible && is_new) candidates.push_back(common);
    }
    return candidates;
}

// Without a single key, a table that is there as a whole is as good as any.
bool IsLikely(Votes const& votes, std::uint32_t buckets, IndexView const& index) {
    return votes.in_place > votes.misplaced || (votes.misplaced == 0 && buckets <= index.slots());
}

bool IsToldCountRight(IndexView const& index, int told) {
    if (told >= DLPCache::IndexHead::kBucketCountLimit) return false;
    // It can be asked for; no key is ever stored then.
    if (told < 2) return index.slots() <= static_cast<std::uint64_t>(std::max(told, 0));
    auto const buckets = static_cast<std::uint32_t>(told);
    Votes const votes = VotesFor(index, buckets);
    return IsLikely(votes, buckets, index) || (votes.in_place != 0 && votes.in_place == votes.misplaced);
}

}  // namespace

std::uint32_t UsualBucketCount(StoreKind kind) {
    return kind == StoreKind::kTemplate ? kTemplateBuckets : kCounterBuckets;
}

std::optional<std::uint32_t> BucketCountByKeys(IndexView const& index, StoreKind kind) {
    if (!index.head()) return std::nullopt;
    int const told = index.head()->bucket_count;
    if (IsToldCountRight(index, told))
        return index.IsHeadValid() ? std::nullopt : std::optional(static_cast<std::uint32_t>(std::max(told, 0)));
    std::uint32_t best = 0;
    std::uint64_t most = 0;
    for (std::uint32_t const buckets : Candidates(index, kind)) {
        Votes const votes = VotesFor(index, buckets);
        bool const is_usual = buckets == UsualBucketCount(kind);
        bool const is_likely = is_usual ? IsLikely(votes, buckets, index) : votes.in_place > votes.misplaced;
        if (!is_likely || (best != 0 && votes.in_place <= most)) continue;
        best = buckets;
        most = votes.in_place;
    }
    return best;
}

}  // namespace torvane
