#pragma once

#include <string>
#include <vector>

#include "tools/torvane/cache/StoreView.h"

namespace torvane {

// What a store says of keys that may all stand for one thing.
struct KeyLook : Look {
    IndexView::Search search;    // of the first key that was found, else of the first key
    std::string key;             // that one
    std::size_t keys = 0;        // that were looked for
    std::size_t unstorable = 0;  // of the keys, none of which was found, those that fall into bucket 0
};

// Looks the keys up, again when what is damaged may be so because somebody is writing. A store that has no index yet
// has no key. `store` is opened anew.
[[nodiscard]] KeyLook LookUp(StoreView& store, std::vector<std::string> const& keys);

}  // namespace torvane
