#pragma once

#include <dirent.h>

#include <memory>

namespace Varnok {

// Walks over the entries of one directory, without "." and "..". One object, one thread; nothing throws.
class DirectoryScan {
  public:
    // Opens the directory, `path` from `at` on (AT_FDCWD: the working directory); a symbolic link is refused (ENOTDIR).
    // 0 or errno.
    [[nodiscard]] int Open(int at, char const* path) noexcept;
    // The same over a descriptor of a directory, which the scan owns from now on.
    [[nodiscard]] int Adopt(int fd) noexcept;
    // The next entry, or null at the end or on an error. Valid until the next call.
    [[nodiscard]] dirent const* Next() noexcept;
    // 0, or the errno that ended the walk.
    [[nodiscard]] int Error() const noexcept { return error_; }
    // Of the directory; closed with the scan.
    [[nodiscard]] int Fd() const noexcept { return ::dirfd(dir_.get()); }

  private:
    struct Close {
        void operator()(DIR* dir) const noexcept { (void)::closedir(dir); }
    };

    std::unique_ptr<DIR, Close> dir_;
    int error_ = 0;
};

// Whether a directory entry is a directory itself. 0 or errno.
[[nodiscard]] int IsDirectory(int at, dirent const& entry, bool& is_directory) noexcept;

}  // namespace Varnok
