#pragma once

#include <cstddef>

#include "host/base/HString.h"
#include "host/policy/KwDefinitions.h"
#include "host/policy/QVKReportKeywordAttachNode.h"

namespace bench {

[[nodiscard]] HString TplId(std::size_t tpl);
// Templates with `rules` rules each, and a data class and a data level for all of them.
[[nodiscard]] KwDefinitions MakeDefinitions(std::size_t templates, std::size_t rules);
// What a scanner reports when all rules of a template matched in a file.
[[nodiscard]] QVKReportKeywordAttachNode MakeAttachNode(std::size_t tpl, std::size_t rules, HString const& short_name);

}  // namespace bench
