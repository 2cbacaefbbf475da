#pragma once

#include <memory>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKKeywordFileNode.h"
#include "host/policy/QVKKeywordFileTips.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKReportKeywordAttachNode.h"

// The answer for one file. A value; copies share the file node and the tips, as their pointers say.
struct QVKKeywordMatchNode {
    bool sensitive = false;
    std::shared_ptr<QVKKeywordFileNode> file_node = std::make_shared<QVKKeywordFileNode>();  // never null
    std::vector<HString> matched_tpl_ids;
    std::shared_ptr<QVKKeywordFileTips> tips = std::make_shared<QVKKeywordFileTips>();  // never null
    std::vector<QVKReportKeywordAttachNode> attach_nodes;                               // one per matched template id
    std::vector<HString> unmatched_tpl_ids;
    std::vector<QVKKeywordText> texts;  // found by their template id
};
