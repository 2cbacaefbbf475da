#include "sensrecord/DLPCachePolicyHash.h"

HString DLPCache::GetPolicyHash(QVKPolicySensitiveFileAuditNode const& node) {
    return HString(node.header().time_stamp, false);
}
