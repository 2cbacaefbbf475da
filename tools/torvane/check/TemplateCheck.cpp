#include <sys/stat.h>

#include <cstdint>

#include "host/policy/KwArchivePath.h"
#include "tools/torvane/check/DirectoryCheck.h"
#include "tools/torvane/check/SnapshotCheck.h"
#include "tools/torvane/check/StoresCheck.h"

namespace torvane {

namespace {

std::uint64_t SizeOf(std::string const& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size)
                                                                          : 0;
}

}  // namespace

void CheckTemplateStore(StoreLook const& look) {
    std::string const& root = look.root.root();
    DirectoryCheck directory(root, look.Directory(), look.list, look.watch);
    bool const is_complete = directory.Has(Varnok::kTemplateArchive);
    bool const is_sound = CheckSnapshotFiles(root, directory, "", look.list, look.watch);
    directory.ExpectFile("index");
    directory.ExpectFile("cache");
    directory.TellRest();
    if (!is_complete) {
        // The template file comes last and goes first.
        bool const has_store = directory.Has("index") || directory.Has("cache");
        Reporter(look.list, directory.name())
            .Waste("unfinished", {}, "a cache that was not finished or is half removed; the next start removes it",
                   SizeOf(look.place.IndexPath()) + SizeOf(look.place.DataPath()),
                   has_store ? "every answer, unless the cache was being removed" : "");
        return;
    }
    if (is_sound) CheckSnapshotMd5(root, directory.name(), look.place.id, look.place.version, look.list);
    StoreCheck store(look.place, directory.name(), look.depth, look.list, look.watch);
    store.Run();
    if (store.IsEmpty()) TellNoIndex(look);
}

}  // namespace torvane
