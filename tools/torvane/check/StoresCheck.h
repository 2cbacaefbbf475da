#pragma once

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"
#include "tools/torvane/check/StoreCheck.h"

namespace torvane {

// What there is to say about one store's directory: its record store and everything beside it.
struct StoreLook {
    CacheRoot const& root;
    StorePlace const& place;
    Depth depth;
    FindingList& list;
    ChangeWatch& watch;

    [[nodiscard]] std::string Directory() const { return place.directory.substr(root.root().size() + 1); }
};

// Each throws Stop(kIo) for a directory that cannot be listed.
void CheckTemplateStore(StoreLook const& look);  // the snapshot is of the directory's MD5
void CheckTaskStore(StoreLook const& look);      // the record is filed under its id; without the texts
void CheckCounterStore(StoreLook const& look);   // the marker of the policy version is there
void CheckStore(StoreLook const& look);          // by its kind

// Of a store that has what is made before its index, and neither that nor records.
void TellNoIndex(StoreLook const& look);

}  // namespace torvane
