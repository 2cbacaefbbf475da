#pragma once

#include <atomic>

#include "host/base/Export.h"

namespace Varnok {

// The process-wide settings. The first byte turns logging on; it is off at start.
struct TORVANE_API Global {
    std::atomic<unsigned char> logging{0};

    [[nodiscard]] static Global* pins() noexcept;
    [[nodiscard]] static bool IsLoggingOn() noexcept { return pins()->logging.load(std::memory_order_relaxed) != 0; }
};

}  // namespace Varnok
