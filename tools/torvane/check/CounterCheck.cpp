#include <fmt/format.h>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/DirectoryCheck.h"
#include "tools/torvane/check/StoresCheck.h"

namespace torvane {

void CheckCounterStore(StoreLook const& look) {
    DirectoryCheck directory(look.root.root(), look.Directory(), look.list, look.watch);
    // Of another version than when the stores were listed, perhaps.
    std::vector<std::string> const versions = VersionsOfCounts(look.root.root(), look.place);
    bool has_marker = false;
    for (std::string const& version : versions) {
        has_marker |= directory.Has(version);
        directory.ExpectFile(version);
    }
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
    if (versions.size() > 1) {
        report.Gap("marker-doubtful", {},
                   fmt::format("{} markers, and no policy of the agent's tells which version these counts are of",
                               versions.size()),
                   "the counts, if they are of another version than the policy's");
    }
    StoreCheck store(look.place, directory.name(), look.depth, look.list, look.watch);
    store.Run();
    if (has_marker && store.IsEmpty()) TellNoIndex(look);
}

}  // namespace torvane
