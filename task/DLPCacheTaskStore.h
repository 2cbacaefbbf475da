#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/ScanTask.h"
#include "host/policy/SensFile.h"
#include "task/DLPCacheTaskCodes.h"

class KwDefineMgr;
namespace DLPCache {
class Manager;
}  // namespace DLPCache

// The sensitive files of one task by serial number, in the task's directory, with a snapshot of the definitions that
// were in force when the store was first opened: the task keeps seeing those.
//
// Made by the task's writer, usable until the process ends. Any thread may call; a lookup that meets the write of the
// same number may miss it. Nothing throws; codes are TaskCode or those of the record store.
class TORVANE_API DLPCacheTaskStore {
  public:
    explicit DLPCacheTaskStore(ScanTask const& task) noexcept;
    ~DLPCacheTaskStore();
    DLPCacheTaskStore(DLPCacheTaskStore const&) = delete;
    DLPCacheTaskStore& operator=(DLPCacheTaskStore const&) = delete;

    // Stores `file` under its serial number. kTaskFileStored, kTaskNoStore, kTaskFileRefused, kTaskFileNotEncoded, or a
    // negative code of the record store.
    int Add(SensFile const& file) const noexcept;
    // Why no store could ever take `file`: kTaskFileRefused, kTaskFileNotEncoded, or 0.
    [[nodiscard]] static int Check(SensFile const& file) noexcept;
    // Resets `file`, then kTaskFileFound or kTaskTplGone with `file` filled, kTaskFileEmpty, kTaskFileAbsent,
    // kTaskNoStore, kTaskFileNotDecoded, or a negative code of the record store.
    [[nodiscard]] int Find(int sn, SensFile& file) const noexcept;
    // Fills what is not stored from the task's definitions. False when one of the templates is not among them, and
    // without memory.
    bool FillTplInfo(SensFile& file) const noexcept;

    // How many serial numbers the store holds.
    [[nodiscard]] int GetIndexNumber() const noexcept;
    // The task's definitions; null only without memory. They live as long as the process.
    [[nodiscard]] KwDefineMgr const* definitions() const noexcept { return define_mgr_; }

  private:
    void Open();

    ScanTask task_;
    KwDefineMgr* define_mgr_ = nullptr;
    DLPCache::Manager* manager_ = nullptr;
};
