#include "host/base/LittleEndian.h"

#include <gtest/gtest.h>

namespace {

TEST(LittleEndian, LowestByteComesFirst) {
    std::uint8_t bytes[8];
    Varnok::StoreLittleEndian(0x0102030405060708LL, bytes);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(bytes[i], 8 - i);
    Varnok::StoreLittleEndian(static_cast<short>(-2), bytes);
    EXPECT_EQ(bytes[0], 0xFE);
    EXPECT_EQ(bytes[1], 0xFF);
}

TEST(LittleEndian, LoadsWhatWasStored) {
    std::uint8_t const bytes[8] = {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F};
    EXPECT_EQ(Varnok::LoadLittleEndian<short>(bytes), -2);
    EXPECT_EQ(Varnok::LoadLittleEndian<unsigned short>(bytes), 0xFFFE);
    EXPECT_EQ(Varnok::LoadLittleEndian<int>(bytes), -2);
    EXPECT_EQ(Varnok::LoadLittleEndian<long long>(bytes), 0x7FFFFFFFFFFFFFFELL);
}

}  // namespace
