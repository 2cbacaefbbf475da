#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"

namespace DLPCache {

// The policy's version as text: its time stamp in decimal. Two nodes are the same version of a policy exactly when
// their hashes are equal. Throws std::bad_alloc only.
[[nodiscard]] TORVANE_API HString GetPolicyHash(QVKPolicySensitiveFileAuditNode const& node);

}  // namespace DLPCache
