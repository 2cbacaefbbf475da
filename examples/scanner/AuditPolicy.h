#pragma once

#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"

namespace scanner {

// A policy as a scan wants it, among the others of the root. A value.
struct AuditPolicy {
    QVKPolicySensitiveFileAuditNode node;
    QVKPolicySensitiveFileAuditVT table;  // all policies, this one included
    bool is_new = false;                  // the table is not that of the record file
};

// The policy `id` over these templates. Its version (the time stamp) changes when its templates do, in whatever order,
// and only then: findings are counted per version. Other policies stay as they are, and nothing is written. Throws
// std::runtime_error when the record file cannot be read, for an id that cannot name a file, and when there is no
// version above the policy's.
[[nodiscard]] AuditPolicy PlanPolicy(HString const& id, std::vector<HString> const& tpl_ids);

// Puts the policies in force, for this process and, in <root>/config, for later ones. Throws std::runtime_error when
// the record file cannot be written.
void PutInForce(AuditPolicy const& policy);

}  // namespace scanner
