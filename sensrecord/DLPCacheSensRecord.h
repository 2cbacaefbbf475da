#pragma once

#include <map>
#include <memory>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "sensrecord/DLPCacheSensRecordCodes.h"
#include "sensrecord/DLPCacheSensRecordNode.h"

namespace DLPCache {

class Manager;
struct SensRecordPlace;

// The found-times of the files of one record key, under one version of one policy at a time. They lie in the policy's
// directory below KwLocateMgr::get_sens_record_path, beside an empty marker file that is named by the policy's version.
// Policies that share a record key still count apart, each in its own directory.
//
// Made and kept by DLPCacheSensRecordMgr, usable until the process ends. Whoever calls Update, Find or Add holds the
// record's lock meanwhile, so that a count is one step. Nothing throws; codes are SensRecordCode or those of the store.
class TORVANE_API DLPCacheSensRecord {
  public:
    DLPCacheSensRecord() noexcept;
    // Nobody else holds the record any more.
    ~DLPCacheSensRecord();
    DLPCacheSensRecord(DLPCacheSensRecord const&) = delete;
    DLPCacheSensRecord& operator=(DLPCacheSensRecord const&) = delete;

    // Re-entrant. Taken under it: a store's locks, those of the root's path and of the log.
    void Lock() noexcept { mutex_.Lock(); }
    void UnLock() noexcept { mutex_.UnLock(); }

    // Points the record at the version of `node`. When that has no marker file (a directory, a symbolic link or a FIFO
    // in its place is none), the policy's directory is deleted with all counts and begun anew. Never touches anything
    // but that directory, whatever the policy's id is, and nothing behind a symbolic link in its place, in it, or in
    // that of the two directories above. Without memory, or when the directory cannot be looked at, emptied or made,
    // nothing is deleted that should stay and the record has no store until the next call: better none than that of
    // another version.
    void Update(QVKPolicySensitiveFileAuditNode const& node) noexcept;
    // kSensRecordFound with `node` filled; `node` as it was: kSensRecordEmpty, kSensRecordAbsent, kSensRecordNoStore,
    // kSensRecordNotDecoded, or a negative code of the store.
    [[nodiscard]] int Find(HString const& key, SensRecordNode& node) const noexcept;
    // Stores the counts, in place of older ones; the index gains a slot each time. kSensRecordStored,
    // kSensRecordNoStore, kSensRecordNotEncoded, or a negative code of the store.
    int Add(HString const& key, SensRecordNode& node) const noexcept;

  private:
    void PointAt(QVKPolicySensitiveFileAuditNode const& node);
    void Forget(HString const& directory) noexcept;

    HMutex mutex_;                                        // guards all below
    std::map<HString, std::unique_ptr<Manager>> stores_;  // the open ones, by directory
    // Those of earlier versions: nobody uses them, but to let one go takes memory, so they wait for the destructor.
    std::multimap<HString, std::unique_ptr<Manager>> forgotten_;
    std::unique_ptr<SensRecordPlace> place_;  // of the last Update; null until the first, or when that failed
    Manager* manager_ = nullptr;              // the one of the last Update; null until the first, or when that failed
};

}  // namespace DLPCache
