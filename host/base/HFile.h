#pragma once

#include <cstddef>
#include <string>

#include "host/base/Export.h"
#include "host/base/HFileTime.h"
#include "host/base/HString.h"

// Operations on files and directories by path. Any thread; nothing throws. Existence means "not known to be missing": a
// file that cannot be looked at for want of memory, descriptors or rights counts as existing. Symbolic links are never
// followed in the last component. Operations that return an int give 0 on success and the errno value otherwise.
class TORVANE_API HFile {
  public:
    // False when the path is known to be missing or to be a directory.
    [[nodiscard]] static bool IsFileExistFile(HString const& path) noexcept;
    // False when the path is known to be missing or to be no directory.
    [[nodiscard]] static bool IsFileExistDir(HString const& path) noexcept;
    // True only when it is known that something stands there that is no regular file: a directory, a symbolic link, a
    // FIFO. It can never be read as a file, however often that is tried.
    [[nodiscard]] static bool IsOtherThanFile(HString const& path) noexcept;
    // The same for a directory: a file or a symbolic link, for instance, stands in its place.
    [[nodiscard]] static bool IsOtherThanDir(HString const& path) noexcept;
    // True only when the directory was read and holds nothing.
    [[nodiscard]] static bool IsDirEmpty(HString const& path) noexcept;
    // Size in bytes, or -1.
    [[nodiscard]] static long long GetFileLen(HString const& path) noexcept;
    // The file's times; on failure both are 0.
    static int get_file_time(HString const& path, HFileTime& time) noexcept;
    // Makes an empty file (mode 0600 whatever the umask). One that exists stays as it is, its times too. EISDIR: there
    // is a directory.
    static int touch(HString const& path) noexcept;
    // Removes a file; never a directory.
    static int delete_file(HString const& path) noexcept;
    // The same for a file that need not be there: a missing one is success.
    static int delete_file2(HString const& path) noexcept;
    // Removes a directory that is empty; any other stays.
    static int del_empty_dir(HString const& path) noexcept;
    // Removes a directory with all that it holds. Never follows a symbolic link, never leaves the directory that it was
    // given, refuses "", "/" and any path that ends in a "." or ".." component (EINVAL). Goes on past what cannot be
    // removed and returns the first error; a missing directory is success.
    static int delete_dir_recur(HString const& path) noexcept;

    // Reads a whole regular file of at most `limit` bytes. ENOENT: missing; EFBIG: larger than `limit`.
    [[nodiscard]] static int read_file(HString const& path, std::string& content, std::size_t limit) noexcept;
    // Replaces a file in one step: writes a temporary file (mode 0600; the file's name, cut short where there is no
    // room behind it, and ".<process>-<number>.tmp") in the same directory and renames it over `path`. A reader sees
    // the old content or the new, never a part; on failure the old file is untouched and the temporary one gone.
    [[nodiscard]] static int replace_file(HString const& path, void const* bytes, std::size_t length) noexcept;
    // Renames a file over another of the same directory.
    [[nodiscard]] static int rename_file(HString const& from, HString const& to) noexcept;
};

namespace Varnok {

// Makes a directory (mode 0700 whatever the umask) and its missing parents. True when it exists afterwards.
TORVANE_API bool MakeDir(HString const& path) noexcept;

}  // namespace Varnok
