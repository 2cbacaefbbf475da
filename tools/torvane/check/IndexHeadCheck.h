#pragma once

#include <cstdint>
#include <optional>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/IndexView.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// How an index with a valid head is laid out.
struct IndexShape {
    bool has_numbers = false;   // integer keys: slot k is number k
    std::uint32_t buckets = 0;  // of text keys; 0: none can be stored
    std::uint64_t table = 0;    // slots that were made with the file, as far as they are there
    std::uint64_t slots = 0;    // whole ones
    StoreKind kind = StoreKind::kTemplate;
};

// Slots are counted in 32 bits: an index with more of them is not looked at.
[[nodiscard]] bool HasTooManySlots(IndexView const& index);

// Checks head and length of an index that is there. Nothing when its head is none, and the slots mean nothing.
[[nodiscard]] std::optional<IndexShape> CheckIndexHead(IndexView const& index, StoreKind kind, Reporter const& report);

}  // namespace torvane
