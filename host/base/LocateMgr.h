#pragma once

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"

namespace Varnok {

// Where the agent's files lie: the root directory and the directories of ini files and logs below it. In the calls below
// `with_separator` true means that the path ends in a separator. Any thread; nothing is made on disk; without memory a path
// is empty.
class TORVANE_API LocateMgr {
public:
    [[nodiscard]] static LocateMgr* pins() noexcept;

    // Replaces the root for the process; an empty path restores the default: the environment's TORVANE_ROOT when it is an
    // absolute path, else /var/lib/torvane for root and $XDG_STATE_HOME/torvane (~/.local/state/torvane) for others.
    void set_root(HString const& path) noexcept;
    [[nodiscard]] HString get_root(bool with_separator) const noexcept;
    [[nodiscard]] HString get_ini_path(bool with_separator) const noexcept;   // <root>/ini
    [[nodiscard]] HString get_log_path(bool with_separator) const noexcept;   // <root>/log

private:
    LocateMgr() noexcept = default;

    mutable HMutex mutex_;  // guards root_; nothing is taken under it
    mutable HString root_;  // empty: not yet determined
};

}  // namespace Varnok
