#pragma once

#include "storage/DLPCacheLog.h"

namespace DLPCache {

// What the whole folder logs under.
inline constexpr SourceLog kTaskLog(L"../DLPCacheTask.cpp");

}  // namespace DLPCache
