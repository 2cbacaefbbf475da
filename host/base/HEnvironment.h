#pragma once

#include "host/base/Export.h"

// What a thread asks of the system around it.
class TORVANE_API HEnvironment {
  public:
    // Lets the calling thread rest for at least so many milliseconds; 0 or less: not at all. Signals do not cut it
    // short.
    static void Sleep(int milliseconds) noexcept;
};
