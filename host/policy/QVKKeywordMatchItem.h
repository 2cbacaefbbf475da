#pragma once

#include <vector>

#include "host/policy/QVKKeywordMatchNode.h"

// The answer for one thing checked. A value.
struct QVKKeywordMatchItem {
    bool sensitive = false;
    std::vector<QVKKeywordMatchNode> match_nodes;  // in the order of the file nodes
};
