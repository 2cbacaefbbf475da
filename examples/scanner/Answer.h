#pragma once

#include <cstddef>
#include <vector>

#include "examples/scanner/Policy.h"
#include "examples/scanner/Rule.h"
#include "host/policy/QVKKeywordFileNode.h"
#include "host/policy/QVKKeywordMatchNode.h"
#include "host/policy/QVKKeywordText.h"
#include "host/policy/QVKReportKeywordAttachNode.h"

namespace scanner {

// What a scan with one template gave.
struct Answer {
    std::size_t template_index = 0;
    bool matched = false;
    QVKReportKeywordAttachNode attach;  // one item per matched rule, in rule order
    QVKKeywordText text;                // the matched lines
};

// Applies every rule of a template; the template matches when at least one of them does.
[[nodiscard]] Answer ScanWithTemplate(Policy const& policy, std::size_t template_index, FileView const& file);

// Which templates `node` holds no answer for, by index. `ids` are the templates asked for, in order.
[[nodiscard]] std::vector<std::size_t> MissingTemplates(std::vector<HString> const& ids,
                                                        QVKKeywordMatchNode const& node);

// The node that stores `answers` and nothing else, for `file`.
[[nodiscard]] QVKKeywordMatchNode MakeStoreNode(Policy const& policy, QVKKeywordFileNode const& file,
                                                std::vector<Answer> const& answers);

// The answers of `cached` and the scanned ones as one node, its matches with their texts in template order.
[[nodiscard]] QVKKeywordMatchNode Merge(Policy const& policy, QVKKeywordMatchNode const& cached,
                                        std::vector<Answer> const& answers);

}  // namespace scanner
