#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
