#pragma once

#include "storage/DLPCacheLog.h"

namespace DLPCache {

// What the whole folder logs under.
inline constexpr SourceLog kSensRecordLog(L"../DLPCacheSensRecord.cpp");

}  // namespace DLPCache
