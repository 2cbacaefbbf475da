#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
