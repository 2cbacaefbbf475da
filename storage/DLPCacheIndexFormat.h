#pragma once

#include <cstddef>
#include <cstdint>

#include "host/base/Export.h"

// The index file: a head, then slots of equal size (docs/formats.md). All integers are little-endian.
namespace DLPCache {

// The first kSize bytes of the file: their places, the values they must have, and the values that were read.
struct IndexHead {
    static constexpr char kTag[] = "DLPTplCacheIndexHead";  // without its terminator in the file
    static constexpr std::size_t kTagWidth = 20;
    static constexpr std::size_t kTerminatorOffset = 20;   // 1 byte, 0; not checked
    static constexpr std::size_t kFormat1Offset = 21;      // 1 byte
    static constexpr std::size_t kFormat2Offset = 22;      // 1 byte
    static constexpr std::size_t kBucketCountOffset = 23;  // 32 bits
    static constexpr std::size_t kSize = 27;
    static constexpr signed char kFormat1 = 5;
    static constexpr signed char kFormat2 = 2;
    static constexpr int kBucketCountLimit = 5000001;  // a bucket count is below this

    char tag[kTagWidth] = {};
    char terminator = 0;
    signed char format_1 = 0;
    signed char format_2 = 0;
    int bucket_count = 0;
};

// One slot: the places of its fields, and their values.
struct IndexKey {
    static constexpr std::size_t kKeyWidth = 37;      // zero-terminated text; empty: the slot is unused
    static constexpr std::size_t kOffsetOffset = 37;  // 64 bits: byte offset of the record in the data file
    static constexpr std::size_t kLengthOffset = 45;  // 32 bits: bytes of the record
    static constexpr std::size_t kNextOffset = 49;    // 64 bits: file offset of the chain's next slot; 0: last
    static constexpr std::size_t kSize = 57;

    char str_key[kKeyWidth] = {};
    long long offset = 0;
    int length = 0;
    long long next = 0;
};

inline constexpr std::size_t kTextKeyLength = 32;
// The empty key: a slot is unused when its key compares equal to this as zero-terminated text.
inline constexpr char g_str_key_empty[40] = {};

// To and from the kSize bytes of the head, of a slot. `bytes` has room for them, or holds them; nothing is checked.
void EncodeIndexHead(IndexHead const& head, std::uint8_t* bytes) noexcept;
[[nodiscard]] TORVANE_API IndexHead DecodeIndexHead(std::uint8_t const* bytes) noexcept;
void EncodeIndexKey(IndexKey const& key, std::uint8_t* bytes) noexcept;
[[nodiscard]] TORVANE_API IndexKey DecodeIndexKey(std::uint8_t const* bytes) noexcept;

}  // namespace DLPCache
