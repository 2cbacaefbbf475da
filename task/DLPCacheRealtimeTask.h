#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "host/policy/ScanTask.h"

namespace DLPCache {

// The id of the realtime task of a policy version: the policy's time stamp as "YYYYMMDDhhmmss" (UTC) behind
// "000000000000000-", or, with kRealtimeIdByPolicy, behind the lower-case policy id without "-" at either end and a
// "-". Throws std::bad_alloc only.
[[nodiscard]] TORVANE_API HString GetRealtimeTaskID(QVKPolicySensitiveFileAuditNode const& node);
// Whether the task's id is that of its policy's realtime task.
[[nodiscard]] TORVANE_API bool IsRealtimeTask(ScanTask const& task);

}  // namespace DLPCache
