#include "task/DLPCacheTaskDefinitions.h"

#include <cerrno>
#include <new>

#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "task/DLPCacheTask.h"
#include "task/DLPCacheTaskDirectory.h"
#include "task/DLPCacheTaskStore.h"

namespace DLPCache {

TaskDefinitions::TaskDefinitions(HString const& task_id, DLPCacheTask const* opened) {
    if (opened) {
        if (opened->store()) definitions_ = opened->store()->definitions();
        return;
    }
    loaded_ = std::make_unique<KwDefineMgr>();
    definitions_ = loaded_.get();
    if (task_id.empty()) return;
    if (IsTaskDirectoryTaken(task_id)) return;
    HString const directory = KwLocateMgr::pins()->get_task_path(task_id, true);
    if (directory.empty()) throw std::bad_alloc();
    loaded_->set_config_path(directory);
    int const failed = loaded_->load();
    if (failed == ENOMEM) throw std::bad_alloc();
    // What is damaged is as good as it gets, and an id that is no file's name has no snapshot.
    if (failed != EBADMSG && failed != ENAMETOOLONG) error_ = failed;
}

TaskDefinitions::~TaskDefinitions() = default;

}  // namespace DLPCache
