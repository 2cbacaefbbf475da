#pragma once

#include <string>

#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// The directories above the stores' own: nothing lies in them but what belongs there. `root`: the cache's.

// "cache": a directory for each kind of store, beside the stamp.
void CheckTop(std::string const& root, FindingList& list, ChangeWatch& watch);
// A directory of directories that are named by ids: `name`, below `root`.
void CheckIds(std::string const& root, std::string const& name, FindingList& list, ChangeWatch& watch);
// "cache/sensrecord": a directory for the one way of counting.
void CheckCountersTop(std::string const& root, FindingList& list, ChangeWatch& watch);

}  // namespace torvane
