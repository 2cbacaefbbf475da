#pragma once

#include <atomic>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"

namespace Varnok {

// Where the agent's files lie: the root directory and the directories of ini files and logs below it. In the calls
// below `with_separator` true means that the path ends in a separator. Any thread; nothing is made on disk; without
// memory a path is empty.
class TORVANE_API LocateMgr {
  public:
    [[nodiscard]] static LocateMgr* pins() noexcept;  // made on first use, never destroyed

    // Replaces the root for the process; a relative path is taken from the working directory of this moment. An empty
    // path restores the default: the environment's TORVANE_ROOT when it is an absolute path, else /var/lib/torvane for
    // root and $XDG_STATE_HOME/torvane (~/.local/state/torvane) for others. The default is determined when first needed
    // and kept.
    void set_root(HString const& path) noexcept;
    [[nodiscard]] HString get_root(bool with_separator) const noexcept;
    [[nodiscard]] HString get_ini_path(bool with_separator) const noexcept;  // <root>/ini
    [[nodiscard]] HString get_log_path(bool with_separator) const noexcept;  // <root>/log
    // Changes whenever set_root is called: tells cheaply that what was read below an earlier root is stale.
    [[nodiscard]] unsigned generation() const noexcept { return generation_.load(std::memory_order_acquire); }

  private:
    LocateMgr() noexcept = default;
    [[nodiscard]] HString Below(char const* name, bool with_separator) const noexcept;

    mutable HMutex mutex_;  // guards root_ and lost_; nothing is taken under it
    mutable HString root_;  // empty: not yet determined
    bool lost_ = false;     // there was no memory for the root that was set: every path is empty, not the default's
    std::atomic<unsigned> generation_{0};
};

}  // namespace Varnok
