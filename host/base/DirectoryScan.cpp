#include "host/base/DirectoryScan.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "host/base/Descriptor.h"

namespace Varnok {

int DirectoryScan::Open(int at, char const* path) noexcept {
    int const fd = ::openat(at, path, SafeFlags(O_RDONLY | O_DIRECTORY));
    return fd < 0 ? errno : Adopt(fd);
}

int DirectoryScan::Adopt(int fd) noexcept {
    error_ = 0;
    dir_.reset(::fdopendir(fd));
    if (dir_ != nullptr) return 0;
    int const error = errno;
    (void)::close(fd);
    return error;
}

dirent const* DirectoryScan::Next() noexcept {
    for (;;) {
        errno = 0;
        dirent const* const entry = ::readdir(dir_.get());
        if (entry == nullptr) {
            error_ = errno;
            return nullptr;
        }
        std::string_view const name = entry->d_name;
        if (name != "." && name != "..") return entry;
    }
}

int IsDirectory(int at, dirent const& entry, bool& is_directory) noexcept {
    is_directory = entry.d_type == DT_DIR;
    if (entry.d_type != DT_UNKNOWN) return 0;
    struct stat status {};
    if (::fstatat(at, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) return errno;
    is_directory = S_ISDIR(status.st_mode);
    return 0;
}

}  // namespace Varnok
