#include "host/policy/KwArchivePath.h"

#include "host/base/NoThrow.h"
#include "host/policy/KwLocateMgr.h"

namespace Varnok {

HString ArchivePath(char const* short_name) noexcept {
    return NoThrow(HString(), [&] {
        HString const directory = KwLocateMgr::pins()->get_config_path(true);
        return directory.empty() ? HString() : ArchivePath(directory, short_name);
    });
}

HString ArchivePath(HString const& directory, char const* short_name) {
    HString path = directory;
    path.dir_fit(true) << short_name;
    return path;
}

}  // namespace Varnok
