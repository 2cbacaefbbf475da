#include "task/DLPCacheTask.h"

#include <chrono>
#include <climits>
#include <new>
#include <thread>
#include <utility>

#include "host/base/HAutoMutex.h"
#include "host/base/HEnvironment.h"
#include "host/base/NoThrow.h"
#include "storage/DLPCacheCodes.h"
#include "task/DLPCacheTaskLog.h"
#include "task/DLPCacheTaskStore.h"

using DLPCache::kAssertFalse;
using DLPCache::kAssertNull;
using DLPCache::kTaskLog;

namespace {

constexpr int kPauseMilliseconds = 500;
constexpr unsigned kLastNumber = INT_MAX;

}  // namespace

DLPCacheTask::DLPCacheTask(ScanTask const* task) noexcept
    : store_(NoThrow<DLPCacheTaskStore*>(nullptr, [&] { return new DLPCacheTaskStore(task ? *task : ScanTask()); })) {
    if (store_) counter_ = static_cast<unsigned>(store_->number_at_opening_);
}

DLPCacheTask::~DLPCacheTask() = default;

DLPCacheTask::Turn::Turn(DLPCacheTask const& task) noexcept : mutex_(task.mutex_) {
    HAutoMutex const next(task.next_);
    mutex_.Lock();
}

DLPCacheTask::Turn::~Turn() {
    mutex_.UnLock();
}

int DLPCacheTask::Add(SensFile const& file) noexcept {
    return NoThrow<int>(DLPCache::kTaskFileNotEncoded, [&]() -> int {
        SensFile copy = file;
        Turn const turn(*this);
        Queue(std::move(copy));
        return DLPCache::kTaskFileStored;
    });
}

int DLPCacheTask::AddNumbered(SensFile const& file) noexcept {
    if (!store_ || !store_->HasStore()) {
        return kTaskLog.Failed("AddNumbered", 421, kAssertNull, int{DLPCache::kTaskNoStore});
    }
    if (int const refused = DLPCacheTaskStore::Check(file)) {
        return kTaskLog.Failed("AddNumbered", 424, kAssertFalse, refused);
    }
    return NoThrow<int>(DLPCache::kTaskFileNotEncoded, [&]() -> int {
        SensFile numbered = file;
        Turn const turn(*this);
        if (counter_ >= kLastNumber) {
            return kTaskLog.Failed("AddNumbered", 427, kAssertFalse, int{DLPCache::kStoreKeyRefused});
        }
        numbered.sn = static_cast<int>(counter_ + 1);
        Queue(std::move(numbered));
        return DLPCache::kTaskFileStored;
    });
}

void DLPCacheTask::Queue(SensFile&& file) {
    // Nothing but this takes memory: the number is used when the file is in the queue.
    auto const [entry, added] = queue_.try_emplace(static_cast<int>(counter_ + 1));
    SensFile& queued = entry->second = std::move(file);
    ++counter_;
    if (added) count_.fetch_add(1, std::memory_order_release);
    kTaskLog.Write(DLPCache::kLogInformation, 412, "add task cache, task id: ", queued.task_id,
                   ", SN:", static_cast<long long>(counter_), ", sens file: ", queued.file_path);
}

int DLPCacheTask::Find(int sn, SensFile& file) const noexcept {
    return NoThrow<int>(DLPCache::kTaskFileNotDecoded, [&]() -> int {
        if (count_.load(std::memory_order_acquire) != 0) {
            Turn const turn(*this);
            if (auto const queued = queue_.find(sn); queued != queue_.end()) {
                file = queued->second;
                file.sn = sn;
                if (store_) store_->Fill(file);
                return DLPCache::kTaskFileFound;
            }
        }
        if (store_) return store_->Find(sn, file);
        file.reset_to_default();
        return kTaskLog.Failed("Find", 448, kAssertNull, int{DLPCache::kTaskNoStore});
    });
}

bool DLPCacheTask::WaitWritten(int milliseconds) const noexcept {
    auto const empty = [this] { return count_.load(std::memory_order_acquire) == 0; };
    if (empty() || milliseconds <= 0) return empty();
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    std::unique_lock lock(written_mutex_);
    return written_.wait_until(lock, end, empty);
}

void DLPCacheTask::run() {
    for (;;) {
        while (count_.load(std::memory_order_acquire) != 0) {
            // Tried again at once, but others get a chance.
            if (!WriteFirst()) std::this_thread::yield();
        }
        HEnvironment::Sleep(kPauseMilliseconds);
    }
}

bool DLPCacheTask::WriteFirst() noexcept {
    bool all_written = false;
    std::map<int, SensFile>::node_type written;  // let go of after the queue
    {
        Turn const turn(*this);
        auto const first = queue_.begin();
        if (first == queue_.end()) return true;
        int const code = TryWrite(first->second);
        if (code < DLPCache::kTaskFileStored) {
            kTaskLog.Write(DLPCache::kLogError, 479, "asyn write cache failed, task id: ", first->second.task_id,
                           ", sn: ", first->first, ", ret: ", code);
            return false;
        }
        written = queue_.extract(first);
        all_written = count_.fetch_sub(1, std::memory_order_acq_rel) == 1;
    }
    if (all_written) WakeWaiters();
    return true;
}

// The queue's entry itself is handed over: the lock is held, and a copy would tell nothing else.
int DLPCacheTask::TryWrite(SensFile const& first) const noexcept {
    if (!store_) return kTaskLog.Failed("WriteFirst", 491, kAssertNull, int{DLPCache::kTaskNoStore});
    return store_->Add(first);
}

void DLPCacheTask::WakeWaiters() const noexcept {
    // Whoever has looked at the count under the mutex is waiting by the time it is free again.
    { std::scoped_lock const lock(written_mutex_); }
    written_.notify_all();
}
