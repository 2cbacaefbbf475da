#pragma once

#include <atomic>

#include "host/base/Export.h"

namespace Varnok {

// The process-wide settings. The first byte turns logging on; it is off at start.
struct TORVANE_API Global {
    std::atomic<unsigned char> logging{0};  // 0: off; any thread may set it at any time
    // The settings, made on first use and never destroyed; whether logging is on. Any thread.
    [[nodiscard]] static Global* pins() noexcept;
    [[nodiscard]] static bool IsLoggingOn() noexcept { return pins()->logging.load(std::memory_order_relaxed) != 0; }
};

}  // namespace Varnok
