#include "host/policy/KwArchivePath.h"
#include "tools/torvane/check/DirectoryCheck.h"
#include "tools/torvane/check/SnapshotCheck.h"
#include "tools/torvane/check/StoresCheck.h"

namespace torvane {

void CheckTemplateStore(StoreLook const& look) {
    std::string const& root = look.root.root();
    DirectoryCheck directory(root, look.Directory(), look.list, look.watch);
    bool const is_complete = directory.Has(Varnok::kTemplateArchive);
    bool const is_sound = CheckSnapshotFiles(root, directory, look.list, look.watch);
    directory.ExpectFile("index");
    directory.ExpectFile("cache");
    directory.TellRest();
    if (!is_complete) {
        // The template file comes last and goes first.
        Reporter(look.list, directory.name())
            .Waste("unfinished", {}, "a cache that was not finished or is half removed; the next start removes it", 0);
        return;
    }
    if (is_sound) CheckSnapshotMd5(root, directory.name(), look.place.id, look.place.version, look.list);
    StoreCheck(look.place, directory.name(), look.depth, look.list, look.watch).Run();
}

}  // namespace torvane
