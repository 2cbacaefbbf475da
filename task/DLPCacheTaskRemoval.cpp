#include <set>
#include <utility>
#include <vector>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskDefinitions.h"
#include "task/DLPCacheTaskDirectory.h"
#include "task/DLPCacheTaskLog.h"
#include "task/DLPCacheTaskMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "template/DLPCacheTplState.h"
#include "template/DLPCacheTplUse.h"

namespace {

// The template caches that only this task still needs. Nothing is deleted on what could not be read.
void DeleteTplCaches(ScanTask const& task, DLPCacheTask const* opened, DLPCacheTplMgr& caches) {
    DLPCache::TaskDefinitions const definitions(task.id, opened);
    if (definitions.error() != 0 || !definitions.get()) return;
    DLPCache::TplUse others(task.id);
    for (HString const& tpl_id : task.audit_node().tpl_ids) {
        auto const* tpl = definitions.get()->get_tpl_by_id(tpl_id);
        if (!tpl) continue;
        HString const md5 = definitions.get()->get_md5_by_tpl(*tpl);
        if (md5.empty() || DLPCache::StateOfTpl(tpl_id, md5) != DLPCache::TplState::kOther) continue;
        if (others.IsUsed(tpl_id, md5)) continue;
        (void)caches.DeleteCache(md5);
    }
}

}  // namespace

void DLPCacheTaskMgr::DelTask(ScanTask const& task) noexcept {
    DLPCacheTplMgr* const caches = DLPCacheTplMgr::pins();
    if (!caches) return DLPCache::kTaskLog.Write(DLPCache::kLogError, 47, "delete task failed, id: ", task.id);
    HAutoMutex const caches_lock(caches->mutex());
    HAutoMutex const lock(mutex_);
    NoThrow(false, [&] {
        ScanTask const removed = task;  // the caller's own may be the one that is closed or read meanwhile
        std::set<ScanTask const*> released{&removed};  // its place in the set, so that none is needed later
        DeleteTplCaches(removed, GetOpenedCache(removed.id), *caches);
        if (int const failed = DLPCache::DeleteTaskDirectory(removed.id))
            DLPCache::kTaskLog.Write(DLPCache::kLogError, 64, "delete task failed, errno: ", failed,
                                     ", id: ", removed.id);
        // Looked for now, since asking for the history may have registered it. Nothing throws: the task is out of the
        // one set and in the other.
        auto const entry = tasks_.find(removed.id);
        if (entry == tasks_.end()) return true;
        auto place = released.extract(released.begin());
        place.value() = entry->second;
        released_.insert(std::move(place));
        tasks_.erase(entry);
        return true;
    });
}
