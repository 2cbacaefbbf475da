#pragma once

#include "host/base/HString.h"
#include "host/policy/QVKKeywordText.h"

// What is shown of a sensitive file. A value.
struct QVKKeywordFileTips {
    HString file_path;
    HString tpl_name;          // of a matched template; set for a task's findings only
    HString data_class_names;  // of the matched templates, sorted, joined with "|"
    int data_level = 0;        // 0: none yet
    HString data_level_name;
    HString sens_result;  // the verdict, one line per matched rule
    HString data_level_id;
    HString stored_name;                    // the name kept with each answer
    unsigned long long position_count = 0;  // matched positions of `text`
    QVKKeywordText text;
};
