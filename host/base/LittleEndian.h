#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// Integers on disk are little-endian, whatever the machine.
namespace Varnok {

template <class Integer>
inline void StoreLittleEndian(Integer value, std::uint8_t* bytes) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(bytes, &value, sizeof value);
    } else {
        using Bits = std::make_unsigned_t<Integer>;
        auto const bits = static_cast<std::uint64_t>(static_cast<Bits>(value));
        for (std::size_t i = 0; i < sizeof(Integer); ++i)
            bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    }
}

template <class Integer>
[[nodiscard]] inline Integer LoadLittleEndian(std::uint8_t const* bytes) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        Integer value;
        std::memcpy(&value, bytes, sizeof value);
        return value;
    } else {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof(Integer); ++i)
            bits |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
        return static_cast<Integer>(bits);
    }
}

}  // namespace Varnok
