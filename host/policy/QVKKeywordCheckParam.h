#pragma once

#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKKeywordFileItem.h"

// What the scanner asks about. A value.
struct QVKKeywordCheckParam {
    HString task_id;
    unsigned task_kind = 0;
    HString extra;  // carried into a task's record of the finding
    std::vector<QVKKeywordFileItem> file_items;
    unsigned item_rule = 0;  // 0: sensitive with any sensitive item; 1: with all; else left as it is
};
