#include "task/DLPCacheTaskDefinitions.h"

#include <cerrno>
#include <new>

#include "host/base/HFile.h"
#include "host/policy/KwArchivePath.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "task/DLPCacheTask.h"
#include "task/DLPCacheTaskDirectory.h"
#include "task/DLPCacheTaskStore.h"

namespace DLPCache {

namespace {

// Whether something that is no file stands in the place of an archive: then no later attempt reads the snapshot either.
bool CanNeverBeRead(HString const& directory) {
    using namespace Varnok;
    for (char const* name : {kTemplateArchive, kFormatItemArchive, kDataClassArchive, kDataLevelArchive}) {
        if (HFile::IsOtherThanFile(ArchivePath(directory, name))) return true;
    }
    return false;
}

}  // namespace

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
    if (failed == 0 || failed == EBADMSG || failed == ENAMETOOLONG || CanNeverBeRead(directory)) return;
    error_ = failed;
}

TaskDefinitions::~TaskDefinitions() = default;

}  // namespace DLPCache
