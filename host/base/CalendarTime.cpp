#include "host/base/CalendarTime.h"

bool Varnok::ToCalendar(long long seconds, std::tm& parts) noexcept {
    std::time_t const time = seconds;
    return gmtime_r(&time, &parts) != nullptr && parts.tm_year >= -1900 && parts.tm_year <= 8099;
}
