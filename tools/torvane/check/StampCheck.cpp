#include "tools/torvane/check/StampCheck.h"

#include <sys/stat.h>

namespace torvane {

void CheckStamp(CacheRoot const& root, FindingList& list) {
    if (root.stamp().contains("cache")) return;
    Reporter const report(list, "cache/Version.ini");
    struct stat status {};
    if (::lstat((root.CachePath() + "/Version.ini").c_str(), &status) != 0)
        return report.Waste("unfinished", {}, "no stamp: the library wipes this cache at its next start", 0,
                            root.Stores().empty() ? "" : "everything, unless it was being wiped");
    report.Damage("stamp-damaged", {}, "the stamp does not tell the cache's layout",
                  "everything: the library wipes this cache at its next start");
}

}  // namespace torvane
