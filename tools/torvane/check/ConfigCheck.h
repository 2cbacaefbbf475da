#pragma once

#include <string>

#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// The agent's own archives of definitions and policies can be read, as far as they are there. What else lies beside
// them is the agent's.
void CheckConfig(std::string const& root, FindingList& list, ChangeWatch& watch);

}  // namespace torvane
