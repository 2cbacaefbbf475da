#pragma once

#include <span>

#include "host/base/HString.h"
#include "host/policy/QVKReportKeywordAttachNode.h"

namespace DLPCache {

// The verdict over the attach nodes, in order: one line, ending in a newline, per matched rule that has one. Any
// thread; throws std::bad_alloc.
[[nodiscard]] HString MakeVerdict(std::span<QVKReportKeywordAttachNode const> attach_nodes);

}  // namespace DLPCache
