#pragma once

#include <memory>

#include "tools/torvane/cache/Snapshot.h"
#include "tools/torvane/cache/StoreView.h"

namespace torvane {

// The snapshot of a template's store, and whether it is the one that the store's directory is named after.
struct SnapshotLook : Look {
    std::unique_ptr<Snapshot> snapshot;  // never null
};

// Reads it, again where it may be in the making. Throws Stop(kIo).
[[nodiscard]] SnapshotLook LookAtSnapshot(StorePlace const& place);

}  // namespace torvane
