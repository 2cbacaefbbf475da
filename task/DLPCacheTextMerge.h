#pragma once

#include <vector>

#include "host/policy/QVKKeywordText.h"

namespace DLPCache {

// Merges the matched positions of several texts into one; see DLPCacheTaskMgr::MergeMatchFileText. `merged` may be one
// of the texts. Throws std::bad_alloc only; then `merged` is as it was.
void MergeTexts(std::vector<QVKKeywordText> const& texts, QVKKeywordText& merged);

}  // namespace DLPCache
