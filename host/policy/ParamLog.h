#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordCheckParam.h"

// A check param in one line of a log: "task id: ", the id, ", kind: ", the kind, ", files: ", the number of file nodes,
// and of the first of them ", path: " and ", md5: ". Throws std::bad_alloc only.
[[nodiscard]] TORVANE_API HString ParamLog(QVKKeywordCheckParam const& param);
