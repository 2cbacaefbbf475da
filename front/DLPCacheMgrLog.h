#pragma once

#include <utility>

#include "storage/DLPCacheLog.h"

// The log as the front's own sources use it. All its lines carry the name of the chief source.
namespace DLPCache {

inline constexpr SourceLog kFrontLog(L"../DLPCacheMgr.cpp");

// Line numbers of the log, one per place that writes.
enum FrontLine : int {
    kLineQueryNoParam = 41,
    kLineQueryFailed = 43,
    kLineQueryTplNoParam = 61,
    kLineQueryTplFailed = 63,
    kLineQueryItemFailed = 87,
    kLineQueryNodeFailed = 112,
    kLineFindFailed = 131,
    kLineFindDone = 158,
    kLineAddShape = 176,
    kLineAddFailed = 193,
    kLineAddNoMemory = 214,
    kLineVerdictFailed = 240,
    kLineCancelled = 258,
    kLineStoreNoParam = 261,
    kLineStoreNoTaskId = 264,
    kLineStoreTask = 271,
    kLineStoreTpl = 277,
    kLineTaskNoParam = 293,
    kLineTaskFileItems = 296,
    kLineTaskMatchItems = 299,
    kLineTaskCount = 302,
    kLineTaskMatchNodes = 305,
    kLineTaskAttachNodes = 308,
    kLineTaskNoCache = 327,
    kLineTaskRefused = 334,
    kLineTaskFailed = 339,
};

// Runs `work` and returns its result, or logs an assertion line and returns `failed` when anything was thrown (in
// practice: no memory).
template <class Result, class Work>
Result Guarded(char const* operation, FrontLine line, Result failed, Work&& work) noexcept {
    try {
        return std::forward<Work>(work)();
    } catch (...) {
        return kFrontLog.Failed(operation, line, kAssertFalse, std::move(failed));
    }
}

}  // namespace DLPCache
