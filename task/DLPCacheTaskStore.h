#pragma once

#include <memory>

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
// Made by the task's writer and used as long as it. Any thread may call; a lookup that meets the write of the same
// number may miss it. Nothing throws; codes are TaskCode or those of the record store.
class TORVANE_API DLPCacheTaskStore {
  public:
    // Opens the store in the task's directory, or makes it (the directory too, when it is missing). A snapshot that is
    // there is taken as it is: of a damaged one what could be read, and the templates that were lost are unknown from
    // then on. Where there can be no directory (an empty id; a file or a symbolic link in its place) or no index (a
    // directory in its place) there is no record store.
    explicit DLPCacheTaskStore(ScanTask const& task) noexcept;
    ~DLPCacheTaskStore();
    DLPCacheTaskStore(DLPCacheTaskStore const&) = delete;
    DLPCacheTaskStore& operator=(DLPCacheTaskStore const&) = delete;

    // Stores `file` under its serial number. kTaskFileStored, kTaskNoStore, kTaskFileRefused, kTaskFileNotEncoded, or a
    // negative code of the record store, of which kNoIndex is kTaskFileRefused too: Check tells them apart.
    int Add(SensFile const& file) const noexcept;
    // Why no store could ever take `file` and give it back: kTaskFileRefused, kTaskFileNotEncoded, or 0.
    [[nodiscard]] static int Check(SensFile const& file) noexcept;
    // Resets `file`, then kTaskFileFound or kTaskTplGone with `file` filled (its `sn` with kTaskFileFound only),
    // kTaskFileEmpty, kTaskFileAbsent, kTaskNoStore, kTaskFileNotDecoded (also without memory), or a negative code of
    // the record store. Of these kDataUnreadable is kTaskTplGone too: then file_path is empty.
    [[nodiscard]] int Find(int sn, SensFile& file) const noexcept;
    // Fills what is not stored from the task's definitions: empties the names, then appends MD5, name and data class of
    // every template that they know. False when one of the templates is not among them, and without memory.
    bool FillTplInfo(SensFile& file) const noexcept;

    // How many serial numbers the store holds; 0 when there is no index file to tell.
    [[nodiscard]] int GetIndexNumber() const noexcept;
    // The task's definitions; null only without memory. They live as long as the store.
    [[nodiscard]] KwDefineMgr const* definitions() const noexcept { return define_mgr_.get(); }
    // Whether there is a record store at all; without one every Add and Find gives kTaskNoStore, for ever.
    [[nodiscard]] bool HasStore() const noexcept { return manager_ != nullptr; }
    // False when the store could not be opened for now (no memory, no descriptor, no space, a file or directory that
    // cannot be looked at): then it lacks something that the next attempt may have, and must not serve the task for
    // ever.
    [[nodiscard]] bool complete() const noexcept { return complete_; }

  private:
    friend class DLPCacheTask;

    // The steps of opening; false when one failed for now. Without memory they throw.
    [[nodiscard]] bool Open();
    [[nodiscard]] bool OpenManager(HString const& directory);
    [[nodiscard]] bool TakeSnapshot(HString const& directory);
    void Fill(SensFile& file) const;  // FillTplInfo, but throws without memory

    ScanTask task_;
    HString index_path_;
    int number_at_opening_ = 0;
    std::unique_ptr<KwDefineMgr> define_mgr_;
    std::unique_ptr<DLPCache::Manager> manager_;
    bool complete_ = false;
};
