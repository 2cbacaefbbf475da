#pragma once

#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"

namespace scanner {

// Puts the policy `id` over these templates in force, for this process and, in <root>/config, for later ones. Its
// version (the time stamp) changes when its templates do, in whatever order, and only then: findings are counted per
// version. Other policies stay as they are. Throws std::runtime_error when the record file cannot be read or written.
[[nodiscard]] QVKPolicySensitiveFileAuditNode PutPolicyInForce(HString const& id, std::vector<HString> const& tpl_ids);

}  // namespace scanner
