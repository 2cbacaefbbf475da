#pragma once

#include <cstdint>
#include <optional>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/IndexView.h"

namespace torvane {

// How many buckets the library gives a store of text keys by itself.
[[nodiscard]] std::uint32_t UsualBucketCount(StoreKind kind);

// The bucket count that the keys in the table of an index with text keys were stored under, where the head does not
// tell it: more of them lie in other buckets than in theirs by the head's count, or it leads behind the file's end and
// no key says so, or the head is damaged otherwise. Nothing: the head's is the right one; 0: there is no telling.
// Throws Stop(kIo).
[[nodiscard]] std::optional<std::uint32_t> BucketCountByKeys(IndexView const& index, StoreKind kind);

}  // namespace torvane
