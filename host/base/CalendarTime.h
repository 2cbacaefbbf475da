#pragma once

#include <ctime>

namespace Varnok {

// Seconds since 1970-01-01 00:00:00 UTC as a date and a time of day in UTC. False, with `parts` of no meaning, for a
// time that no calendar year of four digits holds.
[[nodiscard]] bool ToCalendar(long long seconds, std::tm& parts) noexcept;

}  // namespace Varnok
