#include "tools/torvane/check/StampCheck.h"

#include <cerrno>
#include <cstring>

namespace torvane {

void CheckStamp(CacheRoot const& root, FindingList& list) {
    if (root.HasLayout()) return;
    Reporter const report(list, "cache/Version.ini");
    if (root.stamp_error() == ENOENT) {
        bool has_stores = true;
        try {
            has_stores = !root.Stores().empty();
        } catch (Stop const&) {
            // Told where the stores are looked at.
        }
        return report.Waste("unfinished", {}, "no stamp: the library wipes this cache at its next start", 0,
                            has_stores ? "everything, unless it was being wiped" : "");
    }
    if (!root.WillBeWiped()) {
        return report.Damage("stamp-damaged", {},
                             std::string("the stamp cannot be read: ") + std::strerror(root.stamp_error()), "nothing");
    }
    report.Damage("stamp-damaged", {}, "the stamp does not tell the cache's layout",
                  "everything: the library wipes this cache at its next start");
}

}  // namespace torvane
