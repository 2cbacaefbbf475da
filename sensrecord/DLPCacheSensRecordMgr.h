#pragma once

#include <map>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"

namespace DLPCache {

class DLPCacheSensRecord;

// Counts how many times each file was found sensitive, per policy and kind of check. Counts begin anew when the
// policy's time stamp changes. Any thread may call; nothing throws. Counts under one record key are one step each and
// follow each other, counts under different keys run side by side: a policy id belongs to one record key only.
class TORVANE_API DLPCacheSensRecordMgr {
  public:
    // Values other than these count as kToolCheck.
    enum DLP_CHECK_TYPE : int {
        kRealtimeCheck = 0,
        kPolicyCheck = 1,
        kToolCheck = 2,
    };

    // The instance, made on first call and never destroyed. Null only without memory.
    [[nodiscard]] static DLPCacheSensRecordMgr* pins() noexcept;

    DLPCacheSensRecordMgr() noexcept = default;
    ~DLPCacheSensRecordMgr();
    DLPCacheSensRecordMgr(DLPCacheSensRecordMgr const&) = delete;
    DLPCacheSensRecordMgr& operator=(DLPCacheSensRecordMgr const&) = delete;

    // The record of a key, made when there is none. Null only without memory.
    [[nodiscard]] DLPCacheSensRecord* GetDLPCacheSensRecord(HString key) noexcept;

    // Counts one find of `file` and returns the new count of that kind, from 1 to INT_MAX, where it stays; only a
    // damaged file whose count is negative gives less. What goes wrong below is not told: a count that cannot be read
    // starts again at 1, one that cannot be written is lost.
    int GetFileFoundTimes(HString const& file, QVKPolicySensitiveFileAuditNode const& node,
                          DLP_CHECK_TYPE type) noexcept;
    int GetRealTimeFileFoundTimes(HString const& file, QVKPolicySensitiveFileAuditNode const& node) noexcept;
    int GetPolicyFileFoundTimes(HString const& file, QVKPolicySensitiveFileAuditNode const& node) noexcept;
    int GetToolFileFoundTimes(HString const& file, QVKPolicySensitiveFileAuditNode const& node) noexcept;

  private:
    HMutex mutex_;  // guards the map, for one look-up; nothing is taken under it
    std::map<HString, DLPCacheSensRecord*> records_;
};

}  // namespace DLPCache
