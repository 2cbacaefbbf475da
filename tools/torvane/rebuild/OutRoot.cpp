#include "tools/torvane/rebuild/OutRoot.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "host/base/HFile.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

namespace fs = std::filesystem;

bool IsBelowOrSame(fs::path const& path, fs::path const& directory) {
    fs::path const relative = path.lexically_relative(directory);
    return !relative.empty() && *relative.begin() != "..";
}

constexpr mode_t kMode = 0700;

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

}  // namespace

OutRoot::OutRoot(std::string const& path, std::string const& source) : path_(Resolved(path).string()) {
    fs::path const resolved_source = Resolved(source);
    if (IsBelowOrSame(path_, resolved_source))
        throw Stop(ExitStatus::kUsage, "--out " + path + " lies in the root that is read");
    std::error_code error;
    fs::file_status const status = fs::symlink_status(path_, error);
    was_there_ = fs::exists(status);
    if (was_there_ && !fs::is_directory(status)) throw Stop(ExitStatus::kUsage, "--out " + path + " is no directory");
    if (was_there_) {
        bool const is_empty = fs::is_empty(path_, error);
        if (error) throw Stop(ExitStatus::kIo, "cannot look into " + path + ": " + error.message());
        if (!is_empty) throw Stop(ExitStatus::kUsage, "--out " + path + " is not empty");
    }
    first_made_ = FirstMissing(path_);
    if (!Varnok::MakeDir(HString(path_)) || ::chmod(path_.c_str(), kMode) != 0)
        throw Stop(ExitStatus::kIo, "cannot make " + path);
}

OutRoot::~OutRoot() {
    if (keep_) return;
    std::error_code ignored;
    if (!was_there_) {
        fs::remove_all(path_, ignored);
        // Those above it that were made for it, unless something else has come into them.
        for (fs::path above = path_; above != first_made_ && !ignored; fs::remove(above, ignored))
            above = above.parent_path();
        return;
    }
    for (fs::directory_iterator entry(path_, ignored), end; !ignored && entry != end; entry.increment(ignored)) {
        std::error_code also_ignored;
        fs::remove_all(entry->path(), also_ignored);
    }
}

}  // namespace torvane
