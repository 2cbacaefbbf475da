#include "tools/torvane/cache/SnapshotLook.h"

#include <string>

namespace torvane {

namespace {

std::string CheckSnapshot(StorePlace const& place, Snapshot const& snapshot) {
    if (!snapshot.exists()) return "snapshot is incomplete: it has no template file";
    if (snapshot.Template(place.id) == nullptr) return "snapshot does not hold the template";
    std::string const md5 = snapshot.Md5Of(place.id);
    if (md5 != place.version) return "snapshot is of another definition: " + md5;
    return snapshot.damaged() ? "snapshot is damaged" : "";
}

}  // namespace

SnapshotLook LookAtSnapshot(StorePlace const& place) {
    SnapshotLook look;
    static_cast<Look&>(look) = LookAtFile(place.directory + "/KeywordTemplate.arc", [&] {
        look.snapshot = std::make_unique<Snapshot>(place.directory);
        return CheckSnapshot(place, *look.snapshot);
    });
    return look;
}

}  // namespace torvane
