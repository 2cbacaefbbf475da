#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>

#include "host/base/Export.h"
#include "host/base/HIEThread.h"
#include "host/base/HMutex.h"
#include "host/policy/ScanTask.h"
#include "host/policy/SensFile.h"
#include "task/DLPCacheTaskCodes.h"

class DLPCacheTaskStore;

// The writer of one task: numbers the sensitive files that come in, keeps them in a queue, and writes them to the
// task's store from a thread of its own, in the order of their numbers. A file that cannot be written stays first in
// the queue and is tried again and again; those behind it wait.
//
// Made, started and kept by DLPCacheTaskMgr; usable until the process ends (the thread never does). Any thread may
// call. Nothing throws; codes are TaskCode or those of the record store.
class TORVANE_API DLPCacheTask : public virtual HIEUtil::Thread {
  public:
    // Opens the task's store; starts no thread. Null is a task without an id.
    explicit DLPCacheTask(ScanTask const* task) noexcept;
    ~DLPCacheTask() override;

    // Queues a copy of `file` under the next number, which the caller has set as its `sn` already: the store files it
    // under that. No disk access but for the log. kTaskFileStored; kTaskFileNotEncoded without memory (nothing queued,
    // no number used). Not to be used beyond the number INT_MAX.
    int Add(SensFile const& file) noexcept;
    // The same, but sets the copy's `sn` to the number that it gets. Refuses what no store could ever take, since that
    // would hold up the queue for ever: kTaskNoStore, kTaskFileRefused, kTaskFileNotEncoded; kStoreKeyRefused when the
    // numbers are used up. A text with a zero character counts as not encodable: it would not be read back.
    int AddNumbered(SensFile const& file) noexcept;
    // From the queue: kTaskFileFound, whatever the task's definitions know (without memory kTaskFileNotDecoded). Else
    // as DLPCacheTaskStore::Find, whose note on codes that two layers share holds here too.
    [[nodiscard]] int Find(int sn, SensFile& file) const noexcept;

    // Waits until the queue is empty, at most so many milliseconds (0 or less: only looks). True when it is. While
    // others keep adding that may never be.
    [[nodiscard]] bool WaitWritten(int milliseconds) const noexcept;

    // The thread's body: writes, then sleeps 500 ms, for ever.
    void run() override;
    // One pass of it: tries to write the first file of the queue. For run, and for tools and tests that drive a writer
    // without its thread. False when that failed.
    bool WriteFirst() noexcept;

    // Null only without memory.
    [[nodiscard]] DLPCacheTaskStore const* store() const noexcept { return store_.get(); }

  private:
    // Holds the queue's mutex. Whoever waits for it holds next_ meanwhile, so that the writer, which comes back for the
    // next file at once, does not overtake again and again.
    class Turn {
      public:
        explicit Turn(DLPCacheTask const& task) noexcept;
        ~Turn();
        Turn(Turn const&) = delete;
        Turn& operator=(Turn const&) = delete;

      private:
        HMutex& mutex_;
    };

    // Puts the file into the queue under the next number; throws std::bad_alloc, having changed nothing. The caller
    // has the turn.
    void Queue(SensFile&& file);
    [[nodiscard]] int TryWrite(SensFile const& first) const noexcept;
    void WakeWaiters() const noexcept;

    mutable HMutex next_;   // the way to mutex_; nothing else is taken under it
    mutable HMutex mutex_;  // guards counter_ and queue_; held by the writer across one write. Taken under it: the
                            // store's locks and that of the log
    unsigned counter_ = 0;  // the last number handed out
    std::map<int, SensFile> queue_;
    std::atomic<std::size_t> count_{0};  // entries of queue_, read without the lock
    std::unique_ptr<DLPCacheTaskStore> store_;

    mutable std::mutex written_mutex_;         // for `written_` alone; nothing is taken under it
    mutable std::condition_variable written_;  // count_ became 0
};
