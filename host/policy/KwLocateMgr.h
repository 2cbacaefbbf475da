#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Every directory and file path of the cache, below the root directory that Varnok::LocateMgr keeps:
//
//   <root>/config/             the agent's own definitions
//   <root>/cache/              the cache root, the only place that is ever wiped
//   <root>/cache/template/     one directory per template id, in it one per template MD5
//   <root>/cache/task/         one directory per task id
//   <root>/cache/sensrecord/   one directory per way of counting, in it one per policy id
//
// In the calls below `with_separator` true means that the path ends in a separator. Ids go through
// Varnok::IdToFileName. Any thread; without memory a path is empty. Nothing is made on disk but by
// get_cache_path(true).
class TORVANE_API KwLocateMgr {
  public:
    [[nodiscard]] static KwLocateMgr* pins() noexcept;  // made on first use, never destroyed

    // See Varnok::LocateMgr::set_root. To be called before the first use of any manager that keeps files.
    void set_root(HString const& path) noexcept;
    [[nodiscard]] HString get_config_path(bool with_separator) const noexcept;
    // With `true` the directory is made as well.
    [[nodiscard]] HString get_cache_path(bool with_separator) const noexcept;
    [[nodiscard]] HString get_template_path(bool with_separator) const noexcept;
    // The directory of one template's caches.
    [[nodiscard]] HString get_template_path(HString const& tpl_id, bool with_separator) const noexcept;

    // The directory of all tasks.
    [[nodiscard]] HString get_task_path(bool with_separator) const noexcept;
    // One task's directory, and in it the task's record file and the scanner's own snapshot cache.
    [[nodiscard]] HString get_task_path(HString const& task_id, bool with_separator) const noexcept;
    [[nodiscard]] HString get_task_arc(HString const& task_id) const noexcept;         // ScanTask.arc
    [[nodiscard]] HString get_task_snap_cache(HString const& task_id) const noexcept;  // SnapCache
    // The record file of the audit policies, <root>/config/PolicySensitiveFileAudit.arc.
    [[nodiscard]] HString get_policy_keyword_sens() const noexcept;
    // The directory of found-times; `kind` tells ways of counting apart.
    [[nodiscard]] HString get_sens_record_path(HString const& kind, bool with_separator) const noexcept;

  private:
    KwLocateMgr() noexcept = default;
};
