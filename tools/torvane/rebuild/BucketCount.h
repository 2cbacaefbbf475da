#pragma once

#include <cstdint>
#include <optional>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/IndexView.h"

namespace torvane {

// How many buckets the library gives a store of text keys by itself.
[[nodiscard]] std::uint32_t UsualBucketCount(StoreKind kind);

// The bucket count that the keys in the table of an index with text keys were stored under, where the head does not
// tell it: more keys speak for another one, or it leads behind the file's end and no key speaks for it, or the head is
// damaged otherwise. Nothing: the head's is to be believed; 0: there is no telling. Throws Stop(kIo).
[[nodiscard]] std::optional<std::uint32_t> BucketCountByKeys(IndexView const& index, StoreKind kind);

}  // namespace torvane
