#include "host/base/HTimeValueEx.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <limits>

namespace {

std::string Text(long long seconds) {
    HTimeValueEx moment;
    moment.set_time_t(seconds);
    return moment.to_long2().get_str();
}

TEST(HTimeValueEx, AMomentIsFourteenDigitsInUtc) {
    EXPECT_EQ(Text(0), "19700101000000");
    EXPECT_EQ(Text(951782400), "20000229000000");
    EXPECT_EQ(Text(1700000000), "20231114221320");
    EXPECT_EQ(Text(-1), "19691231235959");
}

TEST(HTimeValueEx, AFreshOneIsTheFirstMoment) {
    EXPECT_EQ(HTimeValueEx().to_long2().get_str(), "19700101000000");
}

TEST(HTimeValueEx, TheTimeZoneDoesNotMatter) {
    setenv("TZ", "Asia/Tokyo", 1);
    tzset();
    EXPECT_EQ(Text(0), "19700101000000");
    unsetenv("TZ");
    tzset();
}

TEST(HTimeValueEx, WhatNoYearOfFourDigitsHoldsIsTheNumber) {
    EXPECT_EQ(Text(253402300799), "99991231235959");
    EXPECT_EQ(Text(253402300800), "253402300800");
    EXPECT_EQ(Text(-62167219200), "00000101000000");
    EXPECT_EQ(Text(-62167219201), "-62167219201");
    EXPECT_EQ(Text(std::numeric_limits<long long>::max()), "9223372036854775807");
    EXPECT_EQ(Text(std::numeric_limits<long long>::min()), "-9223372036854775808");
}

}  // namespace
