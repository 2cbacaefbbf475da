#pragma once

#include "host/base/HString.h"

// One matched rule. A value.
struct QVKReportKeywordAttachItem {
    HString tpl_id;
    HString tpl_name;
    HString data_class_id;
    HString data_class_name;
    HString data_level_id;
    HString data_level_name;
    HString rule_id;
    HString rule_name;
    int rule_type = 0;  // 1 content, 2 file attribute, 3 classification, 4 extension
    int sub_type = 0;   // what the rule looks for, 1001 to 4002
    HString rule_text;  // keyword, file name, MD5, fingerprint, code, class name
    HString match_text_1;
    HString match_text_2;       // description of a content rule, file type, volume list
    long long match_count = 0;  // match count, file size, a time, or a yes/no flag (1 is yes)
    int dna_value = 0;
    HString file_short_name;
    HString match_text_3;

    friend bool operator==(QVKReportKeywordAttachItem const&, QVKReportKeywordAttachItem const&) noexcept = default;
};
