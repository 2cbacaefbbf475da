#pragma once

#include <string>

#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"
#include "tools/torvane/check/StoreCheck.h"

namespace torvane {

// One entry of a task's directory of texts: a text under a name, which can be decoded when `depth` says so; or what
// does not belong there. `file`: its name below `root`.
void CheckTextFile(std::string const& root, std::string const& file, Depth depth, FindingList& list,
                   ChangeWatch& watch);

}  // namespace torvane
