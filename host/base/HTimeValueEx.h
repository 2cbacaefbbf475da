#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// A moment. A value; one object, one thread.
class TORVANE_API HTimeValueEx {
  public:
    // Seconds since 1970-01-01 00:00:00 UTC.
    void set_time_t(long long seconds) noexcept { seconds_ = seconds; }
    // "YYYYMMDDhhmmss" in UTC, so that what is named by it does not move with the time zone; a time that no calendar
    // year of four digits holds becomes the decimal number. Throws std::bad_alloc as HString does.
    [[nodiscard]] HString to_long2() const;

  private:
    long long seconds_ = 0;
};
