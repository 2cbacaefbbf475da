#include "tools/torvane/check/IndexHeadCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace torvane {

namespace {

constexpr char kWhole[] = "every entry of this store";

void CheckLastSlot(IndexView const& index, IndexShape const& shape, Reporter const& report) {
    if (index.odd_bytes() == 0) return;
    report.Damage("index-slot-cut", {shape.slots + 1, static_cast<std::int64_t>(IndexView::OffsetOf(shape.slots + 1))},
                  fmt::format("the last slot has {} of its {} bytes", index.odd_bytes(), DLPCache::IndexKey::kSize),
                  "at most one entry");
}

void CheckLength(IndexView const& index, IndexShape const& shape, std::uint64_t bucket_count, Reporter const& report) {
    if (shape.slots < bucket_count) {
        report.Damage("index-table-cut", {}, fmt::format("the table has {} of its {} slots", shape.slots, bucket_count),
                      "the entries of the missing buckets; keys of these buckets can no longer be stored");
    }
    CheckLastSlot(index, shape, report);
}

// Slots of numbers come one by one. The library does not look at the count, which it writes as 0.
void CheckNumbers(IndexView const& index, IndexShape const& shape, Reporter const& report) {
    if (index.head()->bucket_count != 0) {
        report.Damage("index-head", {{}, DLPCache::IndexHead::kBucketCountOffset},
                      fmt::format("a bucket count of {}, where numbers have none", index.head()->bucket_count),
                      "nothing");
    }
    CheckLastSlot(index, shape, report);
}

}  // namespace

bool HasTooManySlots(IndexView const& index) {
    return index.slots() >= std::numeric_limits<std::uint32_t>::max();
}

std::optional<IndexShape> CheckIndexHead(IndexView const& index, StoreKind kind, Reporter const& report) {
    if (!index.head()) {
        report.Damage("index-short", {{}, 0}, fmt::format("{} bytes, fewer than a head has", index.file().size()),
                      kWhole);
        return std::nullopt;
    }
    if (!index.IsHeadValid()) {
        report.Damage("index-head", {{}, 0}, "the head is not that of an index", kWhole);
        return std::nullopt;
    }
    if (HasTooManySlots(index)) {
        report.Unreadable("more slots than this version can check");
        return std::nullopt;
    }
    IndexShape shape;
    auto const bucket_count = static_cast<std::uint64_t>(std::max(index.head()->bucket_count, 0));
    shape.kind = kind;
    shape.slots = index.slots();
    shape.has_numbers = kind == StoreKind::kTask;
    if (shape.has_numbers) {
        CheckNumbers(index, shape, report);
        return shape;
    }
    // A count below 2 can be asked for. With it no key is ever stored, and no slot comes behind the table.
    if (bucket_count < 2 && index.slots() > bucket_count) {
        report.Damage("index-head", {{}, DLPCache::IndexHead::kBucketCountOffset},
                      fmt::format("{} slots with a bucket count of {}", index.slots(), index.head()->bucket_count),
                      kWhole);
        return std::nullopt;
    }
    shape.buckets = static_cast<std::uint32_t>(bucket_count);
    shape.table = std::min(bucket_count, shape.slots);
    CheckLength(index, shape, bucket_count, report);
    return shape;
}

}  // namespace torvane
