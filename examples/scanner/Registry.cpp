#include "examples/scanner/Registry.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"

namespace scanner {
namespace {

std::vector<HDirSnap::Entry> EntriesIfListed(HString const& directory) {
    HDirSnap snap;
    snap.set_file(directory);
    (void)snap.snap();
    return snap.entries();
}

bool HasDirectory(HString const& task_id) {
    std::error_code ignored;
    return !task_id.empty() && std::filesystem::is_directory(std::filesystem::symlink_status(
                                   KwLocateMgr::pins()->get_task_path(task_id, false).get_str(), ignored));
}

// A directory of a task, by its name.
struct Place {
    HString id;
    ScanTask record;  // what could be read of it
    bool is_read = false;
};

// Those that there are, in the order of their names.
std::vector<Place> Places() {
    HDirSnap snap;
    snap.set_file(KwLocateMgr::pins()->get_task_path(false));
    if (!snap.snap()) throw std::runtime_error("cannot list " + KwLocateMgr::pins()->get_task_path(false).get_str());
    std::vector<Place> places;
    for (HDirSnap::Entry const& entry : snap.entries()) {
        Place place;
        if (!entry.is_dir || !Varnok::FileNameToId(entry.path.get_short_name(), place.id)) continue;
        place.is_read = place.record.from_file(KwLocateMgr::pins()->get_task_arc(place.id)) == 0;
        places.push_back(std::move(place));
    }
    return places;
}

}  // namespace

DLPCacheTaskMgr& TaskRegistry() {
    DLPCacheTaskMgr* const tasks = DLPCacheTaskMgr::pins();
    if (tasks == nullptr) throw std::bad_alloc();
    return *tasks;
}

ScanTask& RequireTask(std::string const& id) {
    ScanTask* const task = TaskRegistry().GetTask(HString(id));
    if (task == nullptr && !HasDirectory(HString(id)))
        throw std::runtime_error("there is no task \"" + id + "\"; see scanner tasks");
    // It was registered under the id that its record holds: none when that is damaged, or another task's.
    if (task == nullptr || task->id != HString(id)) {
        throw std::runtime_error("there is a task \"" + id + "\", but its record in " + DirectoryOf(HString(id)) +
                                 " cannot be read");
    }
    return *task;
}

bool HasLostItsRecord(HString const& id) {
    if (!HasDirectory(id)) return false;
    HString const path = KwLocateMgr::pins()->get_task_arc(id);
    ScanTask record;
    int const error = record.from_file(path);
    return error == EBADMSG || error == ENOENT || HFile::IsOtherThanFile(path);
}

std::string DirectoryOf(HString const& task_id) {
    return KwLocateMgr::pins()->get_task_path(task_id, true).get_str();
}

std::string DirectoryOfRecord(HString const& task_id) {
    for (Place const& place : Places()) {
        if (place.is_read && place.record.id == task_id) return DirectoryOf(place.id);
    }
    return "";
}

std::vector<HString> UnreadableTasks() {
    std::vector<HString> ids;
    for (Place const& place : Places()) {
        if (!place.is_read || place.record.id != place.id) ids.push_back(place.id);
    }
    return ids;
}

std::size_t CountTemplateCaches() {
    std::size_t count = 0;
    for (HDirSnap::Entry const& tpl : EntriesIfListed(KwLocateMgr::pins()->get_template_path(false))) {
        if (!tpl.is_dir) continue;
        auto const caches = EntriesIfListed(tpl.path);
        count += static_cast<std::size_t>(
            std::count_if(caches.begin(), caches.end(), [](auto const& c) { return c.is_dir; }));
    }
    return count;
}

}  // namespace scanner
