#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// Integers on disk are little-endian, whatever the machine. Compilers turn these loops into single moves.
namespace Varnok {

template <class Integer>
inline void StoreLittleEndian(Integer value, std::uint8_t* bytes) noexcept {
    using Bits = std::make_unsigned_t<Integer>;
    auto const bits = static_cast<std::uint64_t>(static_cast<Bits>(value));
    for (std::size_t i = 0; i < sizeof(Integer); ++i)
        bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
}

template <class Integer>
[[nodiscard]] inline Integer LoadLittleEndian(std::uint8_t const* bytes) noexcept {
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof(Integer); ++i)
        bits |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
    return static_cast<Integer>(bits);
}

}  // namespace Varnok
