#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/base/HString.h"

// The record files of the tables (".arc"): a head of magic, version, table tag, record count, body length and CRC-32,
// then the body and nothing after it. Replaced in one step; read whole and checked whole. Any thread.
namespace Varnok {

// Offsets and widths of the head; the integers are little-endian.
struct ArchiveHead {
    static constexpr char kMagic[4] = {'T', 'V', 'A', 'R'};
    static constexpr std::uint32_t kVersion = 1;
    static constexpr std::size_t kVersionOffset = 4;  // 32 bits
    static constexpr std::size_t kTagOffset = 8;      // 4 characters
    static constexpr std::size_t kCountOffset = 12;   // 32 bits: records in the body
    static constexpr std::size_t kLengthOffset = 16;  // 32 bits: bytes of the body
    static constexpr std::size_t kCrcOffset = 20;     // 32 bits: CRC-32 of bytes 0 to 19 and the body
    static constexpr std::size_t kSize = 24;
};

// Largest archive in bytes, head included: a larger one is neither written nor read.
inline constexpr std::size_t kMaxArchiveSize = std::size_t{256} << 20;

// The whole content of an archive. Throws std::bad_alloc only. The body must not be larger than the limit leaves room
// for.
[[nodiscard]] std::string PackArchive(char const (&tag)[5], std::uint32_t count, std::string_view body);
// Turns the whole content of an archive into its body; false, with `content` unusable, when it is damaged or foreign.
[[nodiscard]] bool UnpackArchive(std::string& content, char const (&tag)[5], std::uint32_t& count);

// 0 on success; EFBIG: above the limit; else errno.
[[nodiscard]] int WriteArchive(HString const& path, char const (&tag)[5], std::uint32_t count,
                               std::string_view body) noexcept;
// 0 and the body and count; ENOENT: missing; EBADMSG: damaged or foreign (also: above the limit); any other errno:
// could not be read.
[[nodiscard]] int ReadArchive(HString const& path, char const (&tag)[5], std::uint32_t& count,
                              std::string& body) noexcept;

}  // namespace Varnok
