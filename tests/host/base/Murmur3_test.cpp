#include "host/base/Murmur3.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "host/base/LittleEndian.h"

namespace {

// The published procedure: keys {}, {0}, {0, 1}, ... up to 255 bytes, key of length i hashed with seed 256 - i; the 256
// hashes, little-endian, hashed with seed 0.
TEST(Murmur3, PublishedVerificationValue) {
    std::array<std::uint8_t, 256> key{};
    std::array<std::uint8_t, 1024> hashes{};
    for (std::size_t i = 0; i < 256; ++i) {
        key[i] = static_cast<std::uint8_t>(i);
        std::uint32_t const hash = Varnok::Murmur3Seeded(key.data(), i, static_cast<std::uint32_t>(256 - i));
        Varnok::StoreLittleEndian(hash, hashes.data() + 4 * i);
    }
    EXPECT_EQ(Varnok::Murmur3Seeded(hashes.data(), hashes.size(), 0), 0xB0F57EE3U);
}

TEST(Murmur3, KnownValuesWithSeedZero) {
    auto const hash = [](char const* text) { return Varnok::Murmur3_32(text, static_cast<int>(std::strlen(text))); };
    EXPECT_EQ(hash(""), 0U);
    EXPECT_EQ(hash("test"), 0xba6bd213U);
    EXPECT_EQ(hash("Hello, world!"), 0xc0363e43U);
    EXPECT_EQ(hash("The quick brown fox jumps over the lazy dog"), 0x2e4ff723U);
}

TEST(Murmur3, KnownValuesWithOtherSeeds) {
    EXPECT_EQ(Varnok::Murmur3Seeded("", 0, 1), 0x514E28B7U);
    EXPECT_EQ(Varnok::Murmur3Seeded("", 0, 0xffffffffU), 0x81F16F39U);
    EXPECT_EQ(Varnok::Murmur3Seeded("aaaa", 4, 0x9747b28cU), 0x5A97808AU);
    EXPECT_EQ(Varnok::Murmur3Seeded("aaa", 3, 0x9747b28cU), 0x283E0130U);
    EXPECT_EQ(Varnok::Murmur3Seeded("aa", 2, 0x9747b28cU), 0x5D211726U);
    EXPECT_EQ(Varnok::Murmur3Seeded("a", 1, 0x9747b28cU), 0x7FA09EA6U);
}

TEST(Murmur3, HighBytesAreNotTakenForNegative) {
    EXPECT_EQ(Varnok::Murmur3_32("\xFF\xFF\xFF\xFF", 4), 0x76293B50U);
}

TEST(Murmur3, LengthBelowOneIsTheEmptyRun) {
    EXPECT_EQ(Varnok::Murmur3_32("abc", 0), 0U);
    EXPECT_EQ(Varnok::Murmur3_32("abc", -1), 0U);
    EXPECT_EQ(Varnok::Murmur3_32(nullptr, 0), 0U);
}

}  // namespace
