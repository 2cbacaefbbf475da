#pragma once

#include <vector>

#include "examples/scanner/AuditPolicy.h"

// Puts the policy `id` over these templates in force, as a scan does that nothing refuses.
inline QVKPolicySensitiveFileAuditNode PutPolicyInForce(HString const& id, std::vector<HString> const& tpl_ids) {
    scanner::AuditPolicy const policy = scanner::PlanPolicy(id, tpl_ids);
    scanner::PutInForce(policy);
    return policy.node;
}
