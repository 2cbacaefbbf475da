#pragma once

#include <vector>

#include "host/policy/QVKKeywordText.h"

namespace DLPCache {

// Merges the matched positions of several texts into one; see DLPCacheTaskMgr::MergeMatchFileText. Throws
// std::bad_alloc only.
void MergeTexts(std::vector<QVKKeywordText> const& texts, QVKKeywordText& merged);

}  // namespace DLPCache
