#pragma once

#include <memory>

#include "host/base/HString.h"

class DLPCacheTask;
class KwDefineMgr;

namespace DLPCache {

// The definitions that a task keeps seeing: those of its opened writer, or else the snapshot in its directory, read for
// as long as the object lives. Starts no thread and writes nothing. One object, one thread.
class TaskDefinitions {
  public:
    // `opened`: the task's writer, or null. Throws std::bad_alloc only.
    TaskDefinitions(HString const& task_id, DLPCacheTask const* opened);
    ~TaskDefinitions();

    // Null when the writer has none. Without a snapshot they are empty.
    [[nodiscard]] KwDefineMgr const* get() const noexcept { return definitions_; }
    // 0, also when the snapshot is missing or damaged, or when what is no file stands in the place of one of its files
    // (`get` is then empty). Any other errno: it could not be read for now, `get` is empty, and nothing may be deleted
    // on that.
    [[nodiscard]] int error() const noexcept { return error_; }

  private:
    std::unique_ptr<KwDefineMgr> loaded_;
    KwDefineMgr const* definitions_ = nullptr;
    int error_ = 0;
};

}  // namespace DLPCache
