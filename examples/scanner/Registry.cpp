#include "examples/scanner/Registry.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "examples/scanner/Summary.h"
#include "host/base/HDirSnap.h"
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
    if (task == nullptr) throw std::runtime_error("there is no task \"" + Printable(id) + "\"; see scanner tasks");
    // It was registered under the id that its record holds: none when that is damaged, or another task's.
    if (task->id != HString(id)) {
        throw std::runtime_error("there is a task \"" + Printable(id) + "\", but its record cannot be read");
    }
    return *task;
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
