#include "host/base/HTimeValueEx.h"

#include <cstdio>
#include <ctime>

#include "host/base/CalendarTime.h"

HString HTimeValueEx::to_long2() const {
    std::tm parts{};
    if (!Varnok::ToCalendar(seconds_, parts)) return HString(seconds_);
    char text[80];
    std::snprintf(text, sizeof text, "%04d%02d%02d%02d%02d%02d", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                  parts.tm_hour, parts.tm_min, parts.tm_sec);
    return HString(text);
}
