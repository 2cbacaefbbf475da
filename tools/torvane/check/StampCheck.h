#pragma once

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// The stamp of the cache layout: the library wipes a cache without one. Tells also what else stands in its place.
void CheckStamp(CacheRoot const& root, FindingList& list);

}  // namespace torvane
