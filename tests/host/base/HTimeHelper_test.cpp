#include "host/base/HTimeHelper.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

std::string Text(long long seconds) {
    return HTimeHelper::Int2Str2(seconds).get_str();
}

TEST(HTimeHelper, TimesAreUtc) {
    EXPECT_EQ(Text(0), "1970-01-01 00:00:00");
    EXPECT_EQ(Text(951782400), "2000-02-29 00:00:00");
    EXPECT_EQ(Text(1700000000), "2023-11-14 22:13:20");
    EXPECT_EQ(Text(-1), "1969-12-31 23:59:59");
}

TEST(HTimeHelper, TimeZoneDoesNotMatter) {
    setenv("TZ", "Asia/Tokyo", 1);
    tzset();
    EXPECT_EQ(Text(0), "1970-01-01 00:00:00");
    unsetenv("TZ");
    tzset();
}

TEST(HTimeHelper, YearsOfFourDigitsOnly) {
    EXPECT_EQ(Text(253402300799), "9999-12-31 23:59:59");
    EXPECT_EQ(Text(253402300800), "253402300800");
    EXPECT_EQ(Text(-62167219200), "0000-01-01 00:00:00");
    EXPECT_EQ(Text(-62167219201), "-62167219201");
    EXPECT_EQ(Text(std::numeric_limits<long long>::max()), "9223372036854775807");
    EXPECT_EQ(Text(std::numeric_limits<long long>::min()), "-9223372036854775808");
}

}  // namespace
