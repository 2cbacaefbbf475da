#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
