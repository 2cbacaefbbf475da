#pragma once

#include <vector>

#include "host/policy/QVKReportKeywordAttachItem.h"

// The details of one template's match: one item per matched rule. A value.
struct QVKReportKeywordAttachNode {
    std::vector<QVKReportKeywordAttachItem> items;

    void reset_to_default() noexcept { items.clear(); }  // as newly made

    friend bool operator==(QVKReportKeywordAttachNode const&, QVKReportKeywordAttachNode const&) noexcept = default;
};
