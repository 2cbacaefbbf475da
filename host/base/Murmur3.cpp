#include "host/base/Murmur3.h"

#include <bit>

#include "host/base/LittleEndian.h"

namespace Varnok {
namespace {

std::uint32_t Scramble(std::uint32_t block) noexcept {
    return std::rotl(block * 0xcc9e2d51U, 15) * 0x1b873593U;
}

std::uint32_t Finalize(std::uint32_t hash) noexcept {
    hash = (hash ^ hash >> 16) * 0x85ebca6bU;
    hash = (hash ^ hash >> 13) * 0xc2b2ae35U;
    return hash ^ hash >> 16;
}

}  // namespace

std::uint32_t Murmur3Seeded(void const* bytes, std::size_t length, std::uint32_t seed) noexcept {
    auto const* next = static_cast<std::uint8_t const*>(bytes);
    std::uint32_t hash = seed;
    std::size_t left = length;
    for (; left >= 4; next += 4, left -= 4) {
        hash = std::rotl(hash ^ Scramble(LoadLittleEndian<std::uint32_t>(next)), 13) * 5 + 0xe6546b64U;
    }
    std::uint32_t tail = 0;
    for (std::size_t i = 0; i < left; ++i)
        tail |= static_cast<std::uint32_t>(next[i]) << (8 * i);
    hash ^= Scramble(tail);
    return Finalize(hash ^ static_cast<std::uint32_t>(length));
}

std::uint32_t Murmur3_32(char const* bytes, int length) noexcept {
    return Murmur3Seeded(bytes, length < 1 ? 0 : static_cast<std::size_t>(length), 0);
}

}  // namespace Varnok
