#pragma once

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "sensrecord/DLPCacheSensRecordCodes.h"
#include "sensrecord/DLPCacheSensRecordNode.h"

namespace DLPCache {

class Manager;

// The found-times of the files of one record key, under one version of one policy at a time. Lies in the policy's
// directory below KwLocateMgr::get_sens_record_path, beside an empty marker file that is named by the policy's version.
//
// Made and kept by DLPCacheSensRecordMgr, usable until the process ends. Whoever calls Update, Find or Add holds the
// record's lock meanwhile, so that a count is one step. Nothing throws; codes are SensRecordCode or those of the store.
class TORVANE_API DLPCacheSensRecord {
  public:
    DLPCacheSensRecord() noexcept = default;
    ~DLPCacheSensRecord();
    DLPCacheSensRecord(DLPCacheSensRecord const&) = delete;
    DLPCacheSensRecord& operator=(DLPCacheSensRecord const&) = delete;

    // Re-entrant. Taken under it: a store's locks, those of the root's path and of the log.
    void Lock() noexcept { mutex_.Lock(); }
    void UnLock() noexcept { mutex_.UnLock(); }

    // Points the record at the version of `node`. When that has no marker file, the policy's directory is deleted with
    // all counts and begun anew.
    void Update(QVKPolicySensitiveFileAuditNode const& node) noexcept;
    // kSensRecordFound with `node` filled, kSensRecordEmpty, kSensRecordAbsent, kSensRecordNoStore,
    // kSensRecordNotDecoded, or a negative code of the store.
    [[nodiscard]] int Find(HString const& key, SensRecordNode& node) const noexcept;
    // Stores the counts, in place of older ones. kSensRecordStored, kSensRecordNoStore, kSensRecordNotEncoded, or a
    // negative code of the store.
    int Add(HString const& key, SensRecordNode& node) const noexcept;

  private:
    HMutex mutex_;
    Manager* manager_ = nullptr;  // null until the first Update; guarded by mutex_
};

}  // namespace DLPCache
