#pragma once

#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKKeywordFileNode.h"

// One thing to be checked, made of one or more files. A value.
struct QVKKeywordFileItem {
    std::vector<QVKKeywordFileNode> file_nodes;
    std::vector<HString> tpl_ids;  // the templates that apply to every file
    bool count_matched = false;    // count matched templates (else unmatched ones) against the threshold
    int threshold = 0;             // count at which a file is sensitive; a negative one is never reached
    bool lookup_flag = false;  // false: a file's look-up ends at its first matched template while nothing was missed
    bool check_every_node = false;  // false: look-up ends with the first sensitive file
};
