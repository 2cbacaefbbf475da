#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Every directory and file path of the cache, below the root directory that Varnok::LocateMgr keeps:
//
//   <root>/config/             the agent's own definitions
//   <root>/cache/              the cache root, the only place that is ever wiped
//   <root>/cache/template/     one directory per template id, in it one per template MD5
//
// In the calls below `with_separator` true means that the path ends in a separator. Ids go through
// Varnok::IdToFileName. Any thread; without memory a path is empty. Nothing is made on disk but by
// get_cache_path(true).
class TORVANE_API KwLocateMgr {
  public:
    [[nodiscard]] static KwLocateMgr* pins() noexcept;

    // See Varnok::LocateMgr::set_root. To be called before the first use of any manager that keeps files.
    void set_root(HString const& path) noexcept;
    [[nodiscard]] HString get_config_path(bool with_separator) const noexcept;
    // With `true` the directory is made as well.
    [[nodiscard]] HString get_cache_path(bool with_separator) const noexcept;
    [[nodiscard]] HString get_template_path(bool with_separator) const noexcept;
    // The directory of one template's caches.
    [[nodiscard]] HString get_template_path(HString const& tpl_id, bool with_separator) const noexcept;

  private:
    KwLocateMgr() noexcept = default;
};
