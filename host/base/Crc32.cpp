#include "host/base/Crc32.h"

#include <array>

namespace Varnok {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;

constexpr std::array<std::uint32_t, 256> kTable = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t remainder = i;
        for (int bit = 0; bit < 8; ++bit)
            remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? kPolynomial : 0);
        table[i] = remainder;
    }
    return table;
}();

}  // namespace

std::uint32_t Crc32(void const* bytes, std::size_t length) noexcept {
    auto const* next = static_cast<std::uint8_t const*>(bytes);
    std::uint32_t remainder = 0xFFFFFFFF;
    for (; length != 0; --length)
        remainder = remainder >> 8 ^ kTable[(remainder ^ *next++) & 0xFF];
    return ~remainder;
}

}  // namespace Varnok
