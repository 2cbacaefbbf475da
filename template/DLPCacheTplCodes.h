#pragma once

namespace DLPCache {

// What a template cache answers; it passes the negative codes of its record store on (storage/DLPCacheCodes.h).
enum TplCode : int {
    kTplMatched = 2,       // Find: cached, and the template matched
    kTplNotMatched = 1,    // Find: cached, and the template did not match
    kTplStored = 1,        // Add: stored with content
    kTplNotCached = 0,     // Find: not cached
    kTplStoredEmpty = 0,   // Add: stored as "nothing found"
    kTplNoStore = -2,      // the cache has no record store
    kTplNotEncoded = -17,  // Add: the answer could not be encoded
    kTplNotDecoded = -18,  // Find: the stored bytes could not be decoded
};

}  // namespace DLPCache
