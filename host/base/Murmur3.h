#pragma once

#include <cstddef>
#include <cstdint>

#include "host/base/Export.h"

namespace Varnok {

// MurmurHash3_x86_32 with seed 0 (Austin Appleby's reference, public domain; verification value 0xB0F57EE3) over
// `length` bytes; a length below 1 is the empty run. The bucket of a text key comes from it: files stay readable only
// while it stays the same.
[[nodiscard]] TORVANE_API std::uint32_t Murmur3_32(char const* bytes, int length) noexcept;

// The same with any seed.
[[nodiscard]] std::uint32_t Murmur3Seeded(void const* bytes, std::size_t length, std::uint32_t seed) noexcept;

}  // namespace Varnok
