#pragma once

#include "storage/DLPCacheLog.h"

namespace DLPCache {

// What the whole folder logs under.
inline constexpr SourceLog kTplLog(L"../DLPCacheTpl.cpp");

}  // namespace DLPCache
