#pragma once

#include <memory>
#include <vector>

#include "host/policy/QVKKeywordCheckParam.h"
#include "host/policy/QVKKeywordMatchItem.h"

inline constexpr int kScanCancelled = 30002;

// The answer to a check: filled from the cache by a query, or by the scanner. A value; copies share the check param.
struct QVKKeywordMatchResult {
    bool reserved = false;  // not used by the cache
    bool sensitive = false;
    std::shared_ptr<QVKKeywordCheckParam> check_param = std::make_shared<QVKKeywordCheckParam>();
    std::vector<QVKKeywordMatchItem> match_items;  // in the order of the check param's file items
    int status = 0;                                // set by the scanner; kScanCancelled: do not store
};
