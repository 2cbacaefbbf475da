// The opened writers of the registry: DLPCacheTaskMgr::GetCache and what goes through it.
#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskDefinitions.h"
#include "task/DLPCacheTaskLog.h"
#include "task/DLPCacheTaskMgr.h"
#include "task/DLPCacheTaskStore.h"

using DLPCache::kTaskLog;

namespace {

struct GiveBack {
    void operator()(DLPCacheTask* writer) const noexcept { writer->release(); }
};
using Writer = std::unique_ptr<DLPCacheTask, GiveBack>;

// A moment in milliseconds from now; never more than `milliseconds`.
class Deadline {
  public:
    explicit Deadline(int milliseconds) noexcept
        : end_(Clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0))) {}
    [[nodiscard]] int Remaining() const noexcept {
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::max<long long>(left, 0));
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point end_;
};

}  // namespace

DLPCacheTask* DLPCacheTaskMgr::GetOpenedCache(HString const& task_id) const noexcept {
    std::shared_lock const lock(caches_mutex_);
    auto const entry = caches_.find(task_id);
    return entry == caches_.end() ? nullptr : entry->second;
}

DLPCacheTask* DLPCacheTaskMgr::GetCache(HString const& task_id) noexcept {
    if (DLPCacheTask* const opened = GetOpenedCache(task_id)) return opened;
    HAutoMutex const lock(mutex_);
    // Its id is all that counts: looking up again and again must not replace what is registered.
    ScanTask const* const task = FindTask(task_id, Registered::kKeep);
    if (!task || task->id.empty()) return nullptr;
    // Its record may name another id than its directory: the files of one task must not have two writers.
    if (DLPCacheTask* const opened = GetOpenedCache(task->id)) return opened;
    return NoThrow<DLPCacheTask*>(nullptr, [&] { return OpenCache(*task); });
}

DLPCacheTask* DLPCacheTaskMgr::OpenCache(ScanTask const& task) {
    Writer writer(new DLPCacheTask(&task));
    if (!writer->store() || !writer->store()->complete()) return nullptr;
    std::map<HString, DLPCacheTask*> entry{{task.id, writer.get()}};  // from here on nothing takes memory
    HIEUtil::ThreadControl thread = writer->start();
    if (!thread.started()) {
        kTaskLog.Write(DLPCache::kLogError, 566, "start task writer failed, task id: ", task.id);
        return nullptr;
    }
    thread.detach();
    std::unique_lock const lock(caches_mutex_);
    caches_.merge(entry);
    return writer.release();
}

DLPCacheTask const* DLPCacheTaskMgr::CacheOf(HString const& task_id) const noexcept {
    // To the caller nothing changes when a writer is made for the look-up.
    return const_cast<DLPCacheTaskMgr*>(this)->GetCache(task_id);
}

bool DLPCacheTaskMgr::FindTaskSensFileBySN(HString const& task_id, int sn, SensFile& file) const noexcept {
    DLPCacheTask const* const writer = CacheOf(task_id);
    return writer && writer->Find(sn, file) != DLPCache::kTaskFileAbsent;
}

HString DLPCacheTaskMgr::GetTaskTplMd5(HString const& task_id, HString const& tpl_id) const noexcept {
    HAutoMutex const lock(mutex_);
    return NoThrow(HString(), [&] {
        DLPCache::TaskDefinitions const task(task_id, GetOpenedCache(task_id));
        KwDefineMgr const* const definitions = task.get();
        auto const* const tpl = definitions ? definitions->get_tpl_by_id(tpl_id) : nullptr;
        return tpl ? definitions->get_md5_by_tpl(*tpl) : HString();
    });
}

bool DLPCacheTaskMgr::WaitWritten(HString const& task_id, int milliseconds) const noexcept {
    DLPCacheTask const* const writer = GetOpenedCache(task_id);
    return !writer || writer->WaitWritten(milliseconds);
}

bool DLPCacheTaskMgr::WaitAllWritten(int milliseconds) const noexcept {
    Deadline const deadline(milliseconds);
    // From one id to the next, since no lock is held while waiting. No id is empty; copies of one take no memory.
    HString id;
    while (DLPCacheTask const* const writer = NextCache(id)) {
        if (!writer->WaitWritten(deadline.Remaining())) return false;
    }
    return true;
}

DLPCacheTask const* DLPCacheTaskMgr::NextCache(HString& id) const noexcept {
    std::shared_lock const lock(caches_mutex_);
    auto const entry = caches_.upper_bound(id);
    if (entry == caches_.end()) return nullptr;
    id = entry->first;
    return entry->second;
}
