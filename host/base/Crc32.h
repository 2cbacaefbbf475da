#pragma once

#include <cstddef>
#include <cstdint>

namespace Varnok {

// CRC-32 (ISO-HDLC: reflected polynomial 0xEDB88320, check value 0xCBF43926 for "123456789").
[[nodiscard]] std::uint32_t Crc32(void const* bytes, std::size_t length) noexcept;

}  // namespace Varnok
