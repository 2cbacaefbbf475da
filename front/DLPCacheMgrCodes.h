#pragma once

namespace DLPCache {

// What the front returns.
enum FrontCode : int {
    kFullHit = 2,         // QueryCache: every file is answered for every template
    kPartialHit = 1,      // QueryCache: some are, or look-up stopped early
    kMiss = 0,            // QueryCache: nothing is answered
    kStored = 0,          // AddCache, AddTask, AddTpl, AddMatchItem, AddMatchNode
    kShapeRefused = -50,  // the result does not have the expected shape
    kNoTaskCache = -51,   // AddTask: the task has no cache
    kQueryFailed = -55,   // QueryCache: the template query failed
};

}  // namespace DLPCache
