#pragma once

#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "host/policy/QVKTable.h"

// The table of audit policies.
using QVKPolicySensitiveFileAuditVT = QVKTable<QVKPolicySensitiveFileAuditNode>;

extern template class QVKTable<QVKPolicySensitiveFileAuditNode>;
