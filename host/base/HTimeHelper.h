#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// Times as text.
class TORVANE_API HTimeHelper {
  public:
    // Seconds since 1970-01-01 00:00:00 UTC as "YYYY-MM-DD hh:mm:ss" in UTC, so that a stored verdict does not move
    // with the time zone; a time that no calendar year of four digits holds becomes the decimal number. Empty
    // without memory only.
    [[nodiscard]] static HString Int2Str2(long long seconds) noexcept;
};
