#include "host/base/HDirSnap.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/base/DirectoryScan.h"
#include "host/base/NarrowPath.h"
#include "host/base/NoThrow.h"

namespace {

// Appends the entries of one directory, those that are directories to `directories` as well. 0 or errno.
int List(HString const& directory, std::vector<HDirSnap::Entry>& entries, std::vector<HString>& directories) {
    Varnok::NarrowPath narrow(directory);
    if (narrow.Error() != 0) return narrow.Error();
    narrow.CutSeparatorsAtEnd();
    Varnok::DirectoryScan scan;
    if (int const error = scan.Open(AT_FDCWD, narrow.Text()); error != 0) return error;
    HString prefix = directory;
    prefix.dir_fit(true);
    while (auto const* entry = scan.Next()) {
        bool is_directory = false;
        int const error = Varnok::IsDirectory(scan.Fd(), *entry, is_directory);
        if (error == ENOENT) continue;  // gone meanwhile
        if (error != 0) return error;
        entries.push_back({HString(prefix) << entry->d_name, is_directory});
        if (is_directory) directories.push_back(entries.back().path);
    }
    return scan.Error();
}

// 0 or errno of the first directory that could not be read. One that is gone by now is empty.
int Walk(HString const& top, bool recursive, std::vector<HDirSnap::Entry>& entries) {
    std::vector<HString> directories{top};
    while (!directories.empty()) {
        HString const directory = std::move(directories.back());
        directories.pop_back();
        std::vector<HString> found;
        int const error = List(directory, entries, found);
        if (error != 0 && error != ENOENT) return error;
        if (recursive) directories.insert(directories.end(), found.begin(), found.end());
    }
    return 0;
}

}  // namespace

void HDirSnap::set_file(HString const& directory) noexcept {
    directory_ = directory;
}

bool HDirSnap::snap() noexcept {
    entries_.clear();
    if (directory_.empty()) return false;
    bool const done = NoThrow(false, [this] {
        std::vector<Entry> found;
        if (Walk(directory_, recursive, found) != 0) return false;
        if (!directories) std::erase_if(found, [](Entry const& entry) { return entry.is_dir; });
        std::sort(found.begin(), found.end(), [](Entry const& a, Entry const& b) { return a.path < b.path; });
        entries_ = std::move(found);
        return true;
    });
    return done;
}
