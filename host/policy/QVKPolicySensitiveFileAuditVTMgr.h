#pragma once

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"

// The audit policies in force in this process; empty until someone sets them. Any thread; nothing throws.
class TORVANE_API QVKPolicySensitiveFileAuditVTMgr {
  public:
    // Null only without memory.
    [[nodiscard]] static QVKPolicySensitiveFileAuditVTMgr* pins() noexcept;

    // Copies the table in force into `table`; `from_arc` true: puts the table of the record file
    // (KwLocateMgr::get_policy_keyword_sens) in force first, when it can be read whole. False (and an empty table)
    // without memory.
    bool get(QVKPolicySensitiveFileAuditVT& table, bool from_arc) noexcept;
    // Puts `table` in force. False (and nothing changed) without memory.
    bool set_no_write_to_arc(QVKPolicySensitiveFileAuditVT const& table) noexcept;
    // Writes the record file (and its directory), then puts `table` in force. 0, or errno and nothing changed.
    [[nodiscard]] int set(QVKPolicySensitiveFileAuditVT const& table) noexcept;

  private:
    QVKPolicySensitiveFileAuditVTMgr() noexcept = default;

    HMutex mutex_;  // guards table_, and the record file while it is written or read; taken under it: the root's path
    QVKPolicySensitiveFileAuditVT table_;
};
