#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/Export.h"
#include "host/base/HString.h"

// The record files of the tables (".arc"): a head of magic, version, table tag, record count, body length and CRC-32, then
// the body. Replaced in one step; read whole and checked whole.
namespace Varnok {

// Offsets and widths of the head; the integers are little-endian.
struct ArchiveHead {
    static constexpr char kMagic[4] = {'T', 'V', 'A', 'R'};
    static constexpr std::uint32_t kVersion = 1;
    static constexpr std::size_t kVersionOffset = 4;   // 32 bits
    static constexpr std::size_t kTagOffset = 8;       // 4 characters
    static constexpr std::size_t kCountOffset = 12;    // 32 bits: records in the body
    static constexpr std::size_t kLengthOffset = 16;   // 32 bits: bytes of the body
    static constexpr std::size_t kCrcOffset = 20;      // 32 bits: CRC-32 of bytes 0 to 19 and the body
    static constexpr std::size_t kSize = 24;
};

// 0 on success, else errno.
[[nodiscard]] int WriteArchive(HString const& path, char const (&tag)[5], std::uint32_t count, std::string_view body) noexcept;
// 0 and the body and count; ENOENT: missing; EBADMSG: damaged or foreign; any other errno: could not be read.
[[nodiscard]] int ReadArchive(HString const& path, char const (&tag)[5], std::uint32_t& count, std::string& body) noexcept;

}  // namespace Varnok
