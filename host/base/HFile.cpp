#include "host/base/HFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "host/base/Descriptor.h"
#include "host/base/DirectoryScan.h"
#include "host/base/NarrowPath.h"
#include "host/base/NoThrow.h"

using Varnok::NarrowPath;

namespace {

int Result(int returned) noexcept {
    return returned == 0 ? 0 : errno;
}

// The status of the path itself, not of what a symbolic link at its end names. 0 or errno.
int StatusOf(HString const& path, struct stat& status) noexcept {
    NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    narrow.CutSeparatorsAtEnd();
    return Result(::lstat(narrow.Text(), &status));
}

bool IsMissing(int error) noexcept {
    return error == ENOENT || error == ENOTDIR;
}

// Reads to the end of the file; `content` never grows beyond limit + 1 bytes.
int ReadToEnd(int fd, std::size_t size, std::string& content, std::size_t limit) {
    std::size_t held = 0;
    std::size_t room = std::min(size, limit) + 1;  // one more, to see the end
    for (;;) {
        content.resize(room);
        std::size_t moved = 0;
        int const error = Varnok::ReadAt(fd, content.data() + held, room - held, static_cast<long long>(held), moved);
        if (error != 0) return error;
        held += moved;
        if (held > limit) return EFBIG;
        if (held < room) break;
        room = std::min(2 * room, limit + 1);
    }
    content.resize(held);
    return 0;
}

int ReadFile(char const* path, std::string& content, std::size_t limit) {
    Varnok::Descriptor file;
    if (int const error = Varnok::OpenExisting(path, O_RDONLY, file.Slot()); error != 0) return error;
    struct stat status {};
    if (::fstat(file.Get(), &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (!S_ISREG(status.st_mode)) return EINVAL;
    auto const size = static_cast<std::size_t>(status.st_size);
    return size > limit ? EFBIG : ReadToEnd(file.Get(), size, content, limit);
}

// How many bytes of `path` fit before an ending: all of it where there is room, else its last name cut short, never
// within a character.
std::size_t RoomBefore(std::string_view ending, std::string_view path) noexcept {
    std::size_t const directory = path.rfind('/') + 1;  // 0: there is none
    std::size_t const longest = directory + NAME_MAX - ending.size();
    if (path.size() <= longest) return path.size();
    std::size_t room = longest;
    auto const is_within_character = [&] { return (static_cast<unsigned char>(path[room]) & 0xC0) == 0x80; };
    while (room > directory && is_within_character())
        --room;
    return room;
}

// Makes a file of its own beside `path`: the same name as far as it fits, then ".<process>-<number>.tmp". `name`
// receives its path. 0 or errno.
int MakeTemporary(std::string_view path, char (&name)[PATH_MAX], int& fd) noexcept {
    static constinit std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 1000; ++attempt) {
        char ending[32];
        int const length = std::snprintf(ending, sizeof ending, ".%d-%u.tmp", static_cast<int>(::getpid()),
                                         counter.fetch_add(1, std::memory_order_relaxed));
        auto const ending_length = static_cast<std::size_t>(length);
        std::size_t const room = RoomBefore({ending, ending_length}, path);
        if (room + ending_length >= sizeof name) return ENAMETOOLONG;
        std::memcpy(name, path.data(), room);
        std::memcpy(name + room, ending, ending_length + 1);
        // One that exists was left behind by a process that died and had our number.
        int const error = Varnok::OpenNew(name, O_WRONLY, fd);
        if (error != EEXIST) return error;
    }
    return EEXIST;
}

int FillAndRename(Varnok::Descriptor& file, char const* name, char const* path, void const* bytes,
                  std::size_t length) noexcept {
    if (int const error = Varnok::WriteAt(file.Get(), bytes, length, 0); error != 0) return error;
    if (int const error = file.Close(); error != 0) return error;
    return Result(::rename(name, path));
}

}  // namespace

bool HFile::IsFileExistFile(HString const& path) noexcept {
    struct stat status {};
    int const error = StatusOf(path, status);
    return error == 0 ? !S_ISDIR(status.st_mode) : !IsMissing(error);
}

bool HFile::IsFileExistDir(HString const& path) noexcept {
    struct stat status {};
    int const error = StatusOf(path, status);
    return error == 0 ? S_ISDIR(status.st_mode) : !IsMissing(error);
}

bool HFile::IsOtherThanFile(HString const& path) noexcept {
    struct stat status {};
    return StatusOf(path, status) == 0 && !S_ISREG(status.st_mode);
}

bool HFile::IsOtherThanDir(HString const& path) noexcept {
    struct stat status {};
    return StatusOf(path, status) == 0 && !S_ISDIR(status.st_mode);
}

bool HFile::IsDirEmpty(HString const& path) noexcept {
    NarrowPath narrow(path);
    if (narrow.Error() != 0) return false;
    narrow.CutSeparatorsAtEnd();
    Varnok::DirectoryScan scan;
    return scan.Open(AT_FDCWD, narrow.Text()) == 0 && !scan.Next() && scan.Error() == 0;
}

long long HFile::GetFileLen(HString const& path) noexcept {
    NarrowPath narrow(path);
    struct stat status {};
    if (narrow.Error() != 0 || ::lstat(narrow.Text(), &status) != 0) return -1;
    return S_ISREG(status.st_mode) ? status.st_size : -1;
}

int HFile::get_file_time(HString const& path, HFileTime& time) noexcept {
    time = {};
    NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    narrow.CutSeparatorsAtEnd();
    struct statx status {};
    if (::statx(AT_FDCWD, narrow.Text(), AT_SYMLINK_NOFOLLOW, STATX_BTIME | STATX_CTIME | STATX_MTIME, &status) != 0) {
        return errno;
    }
    bool const keeps_creation = (status.stx_mask & STATX_BTIME) != 0;
    time.creation_time = keeps_creation ? status.stx_btime.tv_sec : status.stx_ctime.tv_sec;
    time.modification_time = status.stx_mtime.tv_sec;
    return 0;
}

int HFile::touch(HString const& path) noexcept {
    NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    Varnok::Descriptor file;
    if (int const error = Varnok::OpenNew(narrow.Text(), O_WRONLY, file.Slot()); error != EEXIST) return error;
    struct stat status {};
    if (int const error = StatusOf(path, status); error != 0) return error;
    return S_ISDIR(status.st_mode) ? EISDIR : 0;
}

int HFile::delete_file(HString const& path) noexcept {
    NarrowPath narrow(path);
    return narrow.Error() != 0 ? narrow.Error() : Result(::unlink(narrow.Text()));
}

int HFile::delete_file2(HString const& path) noexcept {
    int const error = delete_file(path);
    return IsMissing(error) ? 0 : error;
}

int HFile::del_empty_dir(HString const& path) noexcept {
    NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    narrow.CutSeparatorsAtEnd();
    return Result(::rmdir(narrow.Text()));
}

int HFile::read_file(HString const& path, std::string& content, std::size_t limit) noexcept {
    NarrowPath narrow(path);
    content.clear();
    int const error =
        narrow.Error() != 0 ? narrow.Error() : NoThrow(ENOMEM, [&] { return ReadFile(narrow.Text(), content, limit); });
    if (error != 0) content.clear();
    return error;
}

int HFile::replace_file(HString const& path, void const* bytes, std::size_t length) noexcept {
    NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    char name[PATH_MAX];
    Varnok::Descriptor file;
    if (int const error = MakeTemporary(narrow.Text(), name, file.Slot()); error != 0) return error;
    int const error = FillAndRename(file, name, narrow.Text(), bytes, length);
    if (error != 0) (void)::unlink(name);
    return error;
}

int HFile::rename_file(HString const& from, HString const& to) noexcept {
    NarrowPath narrow_from(from);
    NarrowPath narrow_to(to);
    if (narrow_from.Error() != 0) return narrow_from.Error();
    if (narrow_to.Error() != 0) return narrow_to.Error();
    return Result(::rename(narrow_from.Text(), narrow_to.Text()));
}
