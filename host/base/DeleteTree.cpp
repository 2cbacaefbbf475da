#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/Descriptor.h"
#include "host/base/DirectoryScan.h"
#include "host/base/HFile.h"
#include "host/base/NarrowPath.h"
#include "host/base/NoThrow.h"

namespace {

using Varnok::Descriptor;

// Which directory an open descriptor means, and where it is mounted: a directory of the same file system that is
// mounted a second time differs in its mount alone.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    std::uint64_t mount = 0;  // 0 where the system does not tell

    // 0 or errno.
    [[nodiscard]] int Take(int fd) noexcept {
        struct stat status {};
        if (::fstat(fd, &status) != 0) return errno;
        device = status.st_dev;
        inode = status.st_ino;
        struct statx more {};
        bool const told = ::statx(fd, "", AT_EMPTY_PATH, STATX_MNT_ID, &more) == 0 && (more.stx_mask & STATX_MNT_ID);
        mount = told ? more.stx_mnt_id : 0;
        return 0;
    }
    [[nodiscard]] bool IsOnMountOf(Identity const& other) const noexcept {
        return device == other.device && mount == other.mount;
    }
    friend bool operator==(Identity const&, Identity const&) noexcept = default;
};

// Removes what a directory holds, with one or two descriptors open and no recursion, however deep the tree is. The way
// down opens each directory by name from its parent, never through a symbolic link. The way up goes through "..", which
// is believed only when it is the very directory that the way down came from; otherwise the way down is walked again
// from the top.
class TreeRemoval {
  public:
    // `top` is an open directory. Returns 0 or the first error.
    int Run(int top) {
        top_ = top;
        current_.Reset(::fcntl(top, F_DUPFD_CLOEXEC, 0));
        if (current_.Get() < 0) return errno;
        if (int const error = Enter({}); error != 0) return error;
        while (!levels_.empty())
            Step();
        return first_error_;
    }

  private:
    struct Level {
        std::string name;  // in its parent; empty for the top
        Identity identity;
        std::vector<std::string> pending;  // directories in it, still to be removed
    };

    void Note(int error) noexcept {
        if (first_error_ == 0 && error != ENOENT) first_error_ = error;
    }

    // Takes the directory that is open as `current_` on as the deepest level and removes its files.
    int Enter(std::string name) {
        Identity identity;
        if (int const error = identity.Take(current_.Get()); error != 0) return error;
        // What is mounted below is not part of this tree.
        if (!levels_.empty() && !identity.IsOnMountOf(levels_.front().identity)) return EXDEV;
        levels_.push_back({std::move(name), identity, {}});
        Sweep(levels_.back().pending);
        return 0;
    }

    void Sweep(std::vector<std::string>& directories) {
        Varnok::DirectoryScan scan;
        if (int const error = scan.Open(current_.Get(), "."); error != 0) return Note(error);
        while (auto const* entry = scan.Next()) {
            if (entry->d_type != DT_DIR && ::unlinkat(scan.Fd(), entry->d_name, 0) == 0) continue;
            if (entry->d_type == DT_DIR || errno == EISDIR || (entry->d_type == DT_UNKNOWN && errno == EPERM)) {
                directories.emplace_back(entry->d_name);
            } else {
                Note(errno);
            }
        }
        Note(scan.Error());
    }

    void Step() {
        if (levels_.back().pending.empty()) return Leave();
        std::string name = std::move(levels_.back().pending.back());
        levels_.back().pending.pop_back();
        if (::unlinkat(current_.Get(), name.c_str(), AT_REMOVEDIR) == 0) return;
        Descriptor next(::openat(current_.Get(), name.c_str(), Varnok::SafeFlags(O_RDONLY | O_DIRECTORY)));
        if (next.Get() < 0) return Note(errno);
        std::swap(current_.Slot(), next.Slot());
        int const error = Enter(std::move(name));
        if (error == 0) return;
        Note(error);
        std::swap(current_.Slot(), next.Slot());
    }

    // The deepest level is done: goes up and removes it.
    void Leave() {
        std::string const name = std::move(levels_.back().name);
        if (levels_.size() == 1) return levels_.clear();
        Descriptor parent(::openat(current_.Get(), "..", Varnok::SafeFlags(O_RDONLY | O_DIRECTORY)));
        levels_.pop_back();
        if (!IsLevel(parent.Get(), levels_.back())) parent.Reset(WalkDown());
        if (parent.Get() < 0) return levels_.clear();
        std::swap(current_.Slot(), parent.Slot());
        if (::unlinkat(current_.Get(), name.c_str(), AT_REMOVEDIR) != 0) Note(errno);
    }

    static bool IsLevel(int fd, Level const& level) noexcept {
        Identity identity;
        return fd >= 0 && identity.Take(fd) == 0 && identity == level.identity;
    }

    // Opens the deepest level from the top, or returns -1.
    int WalkDown() noexcept {
        Descriptor at(::fcntl(top_, F_DUPFD_CLOEXEC, 0));
        for (std::size_t i = 1; i < levels_.size() && at.Get() >= 0; ++i) {
            at.Reset(::openat(at.Get(), levels_[i].name.c_str(), Varnok::SafeFlags(O_RDONLY | O_DIRECTORY)));
        }
        if (at.Get() < 0) {
            Note(errno);
        } else if (!IsLevel(at.Get(), levels_.back())) {
            Note(ESTALE);  // someone moves directories about: hands off
            return -1;
        }
        return at.Release();
    }

    int top_ = -1;
    Descriptor current_;
    std::vector<Level> levels_;
    int first_error_ = 0;
};

// "", "/" and what ends in "." or ".." name no directory of ours.
bool IsRefused(std::string_view path) noexcept {
    std::string_view const last = path.substr(path.rfind('/') + 1);
    return last.empty() || last == "." || last == "..";
}

}  // namespace

int HFile::delete_dir_recur(HString const& path) noexcept {
    Varnok::NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    narrow.CutSeparatorsAtEnd();
    if (IsRefused(narrow.Text())) return EINVAL;
    Descriptor const top(::open(narrow.Text(), Varnok::SafeFlags(O_RDONLY | O_DIRECTORY)));
    if (top.Get() < 0) return errno == ENOENT ? 0 : errno;
    int const error = NoThrow(ENOMEM, [&top] { return TreeRemoval().Run(top.Get()); });
    if (::rmdir(narrow.Text()) == 0 || errno == ENOENT) return error;
    return error != 0 ? error : errno;
}
