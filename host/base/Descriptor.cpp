#include "host/base/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace Varnok {
namespace {

constexpr mode_t kFileMode = 0600;
constexpr mode_t kDirMode = 0700;
constexpr mode_t kPermissions = 07777 & ~(S_ISUID | S_ISGID);

int Open(char const* path, int flags, int& fd) noexcept {
    do {
        fd = ::open(path, flags, kFileMode);
    } while (fd < 0 && errno == EINTR);
    return fd < 0 ? errno : 0;
}

}  // namespace

int SafeFlags(int flags) noexcept {
    return flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
}

int OpenExisting(char const* path, int flags, int& fd) noexcept {
    return Open(path, SafeFlags(flags), fd);
}

int OpenNew(char const* path, int flags, int& fd) noexcept {
    int error = Open(path, SafeFlags(flags) | O_CREAT | O_EXCL, fd);
    if (error != 0) return error;
    // A umask can have taken rights away.
    if (::fchmod(fd, kFileMode) == 0) return 0;
    error = errno;
    (void)::unlink(path);
    (void)::close(fd);
    fd = -1;
    return error;
}

int OpenOrMake(char const* path, int flags, int& fd) noexcept {
    // Others may make and remove the file between the two calls; whoever does that for ever gets the error.
    int error = 0;
    for (int attempt = 0; attempt < 16; ++attempt) {
        error = OpenExisting(path, flags, fd);
        if (error != ENOENT) return error;
        error = OpenNew(path, flags, fd);
        if (error != EEXIST) return error;
    }
    return error;
}

int MakeOneDir(char const* path) noexcept {
    if (::mkdir(path, kDirMode) != 0) return errno;
    struct stat status {};
    bool usable = ::lstat(path, &status) == 0;
    if (usable && (status.st_mode & kPermissions) != kDirMode) {
        usable = ::fchmodat(AT_FDCWD, path, kDirMode, AT_SYMLINK_NOFOLLOW) == 0;
    }
    if (usable) return 0;
    int const error = errno;
    (void)::rmdir(path);
    return error;
}

int ReadAt(int fd, void* bytes, std::size_t count, long long position, std::size_t& moved) noexcept {
    moved = 0;
    while (moved < count) {
        ssize_t const got =
            ::pread(fd, static_cast<char*>(bytes) + moved, count - moved, position + static_cast<long long>(moved));
        if (got == 0) return 0;
        if (got > 0) {
            moved += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int WriteAt(int fd, void const* bytes, std::size_t count, long long position) noexcept {
    std::size_t moved = 0;
    while (moved < count) {
        ssize_t const put = ::pwrite(fd, static_cast<char const*>(bytes) + moved, count - moved,
                                     position + static_cast<long long>(moved));
        if (put == 0) return EIO;
        if (put > 0) {
            moved += static_cast<std::size_t>(put);
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int Descriptor::Close() noexcept {
    int const fd = Release();
    if (fd < 0) return 0;
    // Linux has closed the descriptor even when it was interrupted.
    return ::close(fd) == 0 || errno == EINTR ? 0 : errno;
}

}  // namespace Varnok
