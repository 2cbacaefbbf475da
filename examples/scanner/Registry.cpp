#include "examples/scanner/Registry.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"

namespace scanner {
namespace {

std::vector<HDirSnap::Entry> Entries(HString const& directory) {
    HDirSnap snap;
    snap.set_file(directory);
    if (!snap.snap()) throw std::runtime_error("cannot list " + directory.get_str());
    return snap.entries();
}

}  // namespace

DLPCacheTaskMgr& TaskRegistry() {
    DLPCacheTaskMgr* const tasks = DLPCacheTaskMgr::pins();
    if (tasks == nullptr) throw std::bad_alloc();
    return *tasks;
}

ScanTask& RequireTask(std::string const& id) {
    ScanTask* const task = TaskRegistry().GetTask(HString(id));
    if (task == nullptr) throw std::runtime_error("there is no task \"" + id + "\"; see scanner tasks");
    // It was registered under the id that its record holds: none when that is damaged, or another task's.
    if (task->id != HString(id)) {
        throw std::runtime_error("there is a task \"" + id + "\", but its record in " +
                                 KwLocateMgr::pins()->get_task_path(HString(id), true).get_str() + " cannot be read");
    }
    return *task;
}

bool HasLostItsRecord(HString const& id) {
    if (id.empty() || !HFile::IsFileExistDir(KwLocateMgr::pins()->get_task_path(id, false))) return false;
    ScanTask record;
    int const error = record.from_file(KwLocateMgr::pins()->get_task_arc(id));
    return error == EBADMSG || error == ENOENT;
}

std::vector<HString> UnreadableTasks() {
    std::vector<HString> ids;
    for (HDirSnap::Entry const& entry : Entries(KwLocateMgr::pins()->get_task_path(false))) {
        HString id;
        if (!entry.is_dir || !Varnok::FileNameToId(entry.path.get_short_name(), id)) continue;
        ScanTask record;
        if (record.from_file(KwLocateMgr::pins()->get_task_arc(id)) != 0 || record.id != id) ids.push_back(id);
    }
    return ids;
}

std::size_t CountTemplateCaches() {
    std::size_t count = 0;
    for (HDirSnap::Entry const& tpl : Entries(KwLocateMgr::pins()->get_template_path(false))) {
        if (!tpl.is_dir) continue;
        auto const caches = Entries(tpl.path);
        count += static_cast<std::size_t>(
            std::count_if(caches.begin(), caches.end(), [](auto const& c) { return c.is_dir; }));
    }
    return count;
}

}  // namespace scanner
