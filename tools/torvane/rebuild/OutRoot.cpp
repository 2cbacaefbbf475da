#include "tools/torvane/rebuild/OutRoot.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/rebuild/FileCopy.h"

namespace torvane {

namespace {

namespace fs = std::filesystem;

bool IsBelowOrSame(fs::path const& path, fs::path const& directory) {
    fs::path const relative = path.lexically_relative(directory);
    return !relative.empty() && *relative.begin() != "..";
}

constexpr mode_t kMode = 0700;

// Of the root that is read: where a link in place of a directory would be followed.
constexpr char const* kDirectories[] = {
    "",     "/cache", "/cache/template", "/cache/task", "/cache/sensrecord", "/cache/sensrecord/1", "/config",
    "/ini", "/log"};

// Of the directories on the way to `path`, the first that is not there.
fs::path FirstMissing(fs::path path) {
    std::error_code error;
    while (path.has_relative_path() && !fs::exists(path.parent_path(), error))
        path = path.parent_path();
    return path;
}

// With every link on the way resolved, as far as the path exists.
fs::path Resolved(std::string const& path) {
    if (path.empty()) throw Stop(ExitStatus::kUsage, "--out names no directory");
    std::error_code error;
    fs::path resolved = fs::weakly_canonical(fs::absolute(path), error);
    if (error) throw Stop(ExitStatus::kIo, "cannot look at " + path + ": " + error.message());
    return resolved.has_filename() ? resolved : resolved.parent_path();
}

// A directory that cannot be resolved (a link to itself, say) holds nothing.
bool LiesIn(fs::path const& path, std::string const& directory) {
    std::error_code error;
    fs::path const resolved = fs::weakly_canonical(fs::absolute(directory), error);
    return !error && IsBelowOrSame(path, resolved);
}

}  // namespace

OutRoot::OutRoot(std::string const& path, std::string const& source) : path_(Resolved(path).string()) {
    for (char const* const below : kDirectories) {
        if (LiesIn(path_, source + below))
            throw Stop(ExitStatus::kUsage, "--out " + path + " lies in the root that is read");
    }
    std::error_code error;
    fs::file_status const status = fs::symlink_status(path_, error);
    was_there_ = fs::exists(status);
    if (was_there_ && !fs::is_directory(status)) throw Stop(ExitStatus::kUsage, "--out " + path + " is no directory");
    if (was_there_) {
        bool const is_empty = fs::is_empty(path_, error);
        if (error) throw Stop(ExitStatus::kIo, "cannot look into " + path + ": " + error.message());
        if (!is_empty) throw Stop(ExitStatus::kUsage, "--out " + path + " is not empty");
        mode_ = static_cast<mode_t>(status.permissions());
    }
    first_made_ = FirstMissing(path_);
    Make();
}

void OutRoot::Make() {
    try {
        MakeDirectory(path_);
        if (::chmod(path_.c_str(), kMode) != 0)
            throw Stop(ExitStatus::kIo, "cannot change the mode of " + path_ + ": " + std::strerror(errno));
    } catch (...) {
        TakeBack();
        throw;
    }
}

OutRoot::~OutRoot() {
    if (!keep_) TakeBack();
}

void OutRoot::TakeBack() noexcept {
    std::error_code error;
    if (!was_there_) {
        RemoveTree(path_);
        // Those above it that were made for it, unless something else has come into them.
        for (fs::path above = path_; above != first_made_ && !error; fs::remove(above, error))
            above = above.parent_path();
        return;
    }
    for (fs::directory_iterator entry(path_, error), end; !error && entry != end; entry.increment(error))
        RemoveTree(entry->path());
    (void)::chmod(path_.c_str(), mode_);
}

}  // namespace torvane
