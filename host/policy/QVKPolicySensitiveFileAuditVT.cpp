#include "host/policy/QVKPolicySensitiveFileAuditVT.h"

#include "host/policy/QVKTableFile.h"

template class QVKTable<QVKPolicySensitiveFileAuditNode>;
