#include "tools/torvane/check/Chains.h"

#include <algorithm>
#include <bit>

namespace torvane {

namespace {

constexpr std::uint64_t kRemembered = std::uint64_t{1} << 21U;

}  // namespace

Chains::Chains(std::uint64_t table, std::uint64_t slots)
    : table_(table),
      marks_(slots + 1),
      buckets_(slots > table ? std::bit_ceil(std::min(slots - table, kRemembered)) : 0) {}

Chains::Link Chains::Take(std::uint64_t from, std::uint64_t to, std::uint32_t bucket) {
    if (to <= from || to <= table_) return Link::kBackward;
    if (marks_[to]) return Link::kShared;
    marks_[to] = true;
    std::uint64_t const first = std::max(from, table_) + 1;
    if (to - first < buckets_.size()) buckets_[to & (buckets_.size() - 1)] = bucket;
    return Link::kTaken;
}

std::optional<std::uint32_t> Chains::Arrive(std::uint64_t number) {
    if (!marks_[number]) return 0;
    std::uint32_t& remembered = buckets_[number & (buckets_.size() - 1)];
    std::uint32_t const bucket = remembered;
    remembered = 0;
    if (bucket == 0) return std::nullopt;
    return bucket;
}

}  // namespace torvane
