#include "host/base/Crc32.h"

#include <gtest/gtest.h>

namespace {

TEST(Crc32, CheckValue) {
    EXPECT_EQ(Varnok::Crc32("123456789", 9), 0xCBF43926U);
}

TEST(Crc32, KnownValues) {
    EXPECT_EQ(Varnok::Crc32("", 0), 0U);
    EXPECT_EQ(Varnok::Crc32("a", 1), 0xE8B7BE43U);
    EXPECT_EQ(Varnok::Crc32("The quick brown fox jumps over the lazy dog", 43), 0x414FA339U);
}

}  // namespace
