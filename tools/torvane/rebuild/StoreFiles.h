#pragma once

#include <string>
#include <vector>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// Which files beside the record store go into a new root.
struct StoreFiles {
    std::string refused;             // why the store cannot be carried over at all; empty: it can
    std::vector<std::string> first;  // to be copied before the record store
    std::vector<std::string> last;   // after it: its presence says that the rest is complete
};

// Of the store at `place`, whose directory was checked with this result. `name`: the directory's below the root.
[[nodiscard]] StoreFiles FilesToCarry(StorePlace const& place, std::string const& name, FindingList const& found);

}  // namespace torvane
