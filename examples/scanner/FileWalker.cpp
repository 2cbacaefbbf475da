#include "examples/scanner/FileWalker.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>

namespace scanner {
namespace {

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

enum class Kind { kFile, kDirectory, kOther };

Kind KindOf(std::string const& path, unsigned char type) {
    if (type == DT_REG) return Kind::kFile;
    if (type == DT_DIR) return Kind::kDirectory;
    struct stat status {};
    if (type != DT_UNKNOWN || ::lstat(path.c_str(), &status) != 0) return Kind::kOther;
    if (S_ISREG(status.st_mode)) return Kind::kFile;
    return S_ISDIR(status.st_mode) ? Kind::kDirectory : Kind::kOther;
}

class Walk {
  public:
    explicit Walk(std::string const& excluded) { has_excluded_ = ::stat(excluded.c_str(), &excluded_) == 0; }

    void Start(std::string path) {
        struct stat status {};
        if (IsBelowExcluded(path)) {
            errno = EPERM;
            return Fail(path);
        }
        if (::lstat(path.c_str(), &status) != 0) return Fail(path);
        if (S_ISREG(status.st_mode)) return result_.files.push_back(path);
        if (!S_ISDIR(status.st_mode)) {
            errno = S_ISLNK(status.st_mode) ? ELOOP : EOPNOTSUPP;
            return Fail(path);
        }
        pending_.push_back(std::move(path));
        while (!pending_.empty()) {
            std::string const next = std::move(pending_.back());
            pending_.pop_back();
            List(next);
        }
    }

    WalkResult Finish() {
        std::sort(result_.files.begin(), result_.files.end());
        result_.files.erase(std::unique(result_.files.begin(), result_.files.end()), result_.files.end());
        return std::move(result_);
    }

  private:
    void List(std::string const& path) {
        int const fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0) return Fail(path);
        if (IsExcluded(fd)) {
            ::close(fd);
            return;
        }
        std::unique_ptr<DIR, CloseDirectory> const directory(::fdopendir(fd));
        if (directory == nullptr) {
            Fail(path);
            ::close(fd);
            return;
        }
        std::string const prefix = path.ends_with('/') ? path : path + "/";
        errno = 0;
        while (dirent const* const entry = ::readdir(directory.get())) {
            Take(prefix, *entry);
            errno = 0;
        }
        if (errno != 0) Fail(path);
    }

    void Take(std::string const& prefix, dirent const& entry) {
        if (std::strcmp(entry.d_name, ".") == 0 || std::strcmp(entry.d_name, "..") == 0) return;
        std::string path = prefix + entry.d_name;
        Kind const kind = KindOf(path, entry.d_type);
        if (kind == Kind::kFile)
            result_.files.push_back(std::move(path));
        else if (kind == Kind::kDirectory)
            pending_.push_back(std::move(path));
    }

    bool IsExcluded(struct stat const& status) const {
        return has_excluded_ && status.st_dev == excluded_.st_dev && status.st_ino == excluded_.st_ino;
    }
    bool IsExcluded(int fd) const {
        struct stat status {};
        return ::fstat(fd, &status) == 0 && IsExcluded(status);
    }
    // Whether a start is the excluded directory or lies in it.
    bool IsBelowExcluded(std::filesystem::path path) const {
        struct stat status {};
        for (;; path = path.parent_path()) {
            if (::lstat(path.c_str(), &status) == 0 && IsExcluded(status)) return true;
            if (path == path.parent_path()) return false;
        }
    }

    void Fail(std::string const& path) { result_.errors.push_back({path, errno}); }

    struct stat excluded_ {};
    bool has_excluded_ = false;
    std::vector<std::string> pending_;
    WalkResult result_;
};

}  // namespace

std::vector<std::string> ResolvePaths(std::vector<std::string> const& paths) {
    std::set<std::string> resolved;
    for (std::string const& path : paths) {
        std::unique_ptr<char, decltype(&std::free)> const real(::realpath(path.c_str(), nullptr), &std::free);
        if (real == nullptr) throw std::runtime_error(path + ": " + std::strerror(errno));
        resolved.insert(real.get());
    }
    return {resolved.begin(), resolved.end()};
}

WalkResult WalkFiles(std::vector<std::string> const& starts, std::string const& excluded) {
    Walk walk(excluded);
    for (std::string const& start : starts)
        walk.Start(start);
    return walk.Finish();
}

}  // namespace scanner
