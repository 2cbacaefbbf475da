#include "host/base/HTimeHelper.h"

#include <cstdio>
#include <ctime>

#include "host/base/CalendarTime.h"
#include "host/base/NoThrow.h"

HString HTimeHelper::Int2Str2(long long seconds) noexcept {
    return NoThrow(HString(), [seconds] {
        std::tm parts{};
        if (!Varnok::ToCalendar(seconds, parts)) return HString(seconds);
        char text[80];
        std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", parts.tm_year + 1900, parts.tm_mon + 1,
                      parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
        return HString(text);
    });
}
