#include "tools/torvane/check/StoresCheck.h"

#include <sys/stat.h>

#include <cerrno>

namespace torvane {

void CheckStore(StoreLook const& look) {
    struct stat status {};
    if (::lstat(look.place.directory.c_str(), &status) != 0 && errno == ENOENT) return;  // removed since it was listed
    switch (look.place.kind) {
        case StoreKind::kTemplate:
            return CheckTemplateStore(look);
        case StoreKind::kTask:
            return CheckTaskStore(look);
        case StoreKind::kCounter:
            return CheckCounterStore(look);
    }
}

void TellNoIndex(StoreLook const& look) {
    Reporter(look.list, look.Directory() + "/index")
        .Gap("unfinished", {}, "there is no index yet, or none any more", "every entry, unless none was made yet");
}

}  // namespace torvane
