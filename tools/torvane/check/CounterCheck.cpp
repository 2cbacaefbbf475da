#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/DirectoryCheck.h"
#include "tools/torvane/check/StoresCheck.h"

namespace torvane {

void CheckCounterStore(StoreLook const& look) {
    DirectoryCheck directory(look.root.root(), look.Directory(), look.list, look.watch);
    // Of another version than when the stores were listed, perhaps.
    std::string const version = VersionOfCounts(look.place.directory);
    bool const has_marker = !version.empty() && directory.Has(version);
    if (has_marker) directory.ExpectFile(version);
    bool const has_index = directory.Has("index");
    directory.ExpectFile("index");
    directory.ExpectFile("cache");
    directory.TellRest();
    Reporter const report(look.list, directory.name());
    if (!has_marker && has_index) {
        report.Damage("marker-missing", {}, "nothing tells which version of the policy these counts are of",
                      "every count: they begin anew");
    } else if (!has_marker) {
        report.Waste("unfinished", {}, "a directory of counts that was not finished or is half removed", 0);
    }
    StoreCheck(look.place, directory.name(), look.depth, look.list, look.watch).Run();
}

}  // namespace torvane
