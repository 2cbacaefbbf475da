#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/base/HString.h"

namespace Varnok {

// Puts the body of an archive or of a record's buffer together: little-endian integers, texts as a 32-bit count of
// units and the units (16 bits each), so that every text comes back exactly. One object, one thread. Throws
// std::bad_alloc, and std::length_error for a count that 32 bits do not hold.
class ArchiveWriter {
  public:
    ArchiveWriter() = default;
    // With room for `expected` bytes, which it may exceed.
    explicit ArchiveWriter(std::size_t expected) { bytes_.reserve(expected); }

    void PutByte(std::uint8_t value);
    void PutInt32(std::int32_t value);
    void PutInt64(std::int64_t value);
    void PutCount(std::size_t count);  // 32 bits
    void PutText(HString const& text);
    void PutTexts(std::vector<HString> const& texts);  // count, then each
    [[nodiscard]] std::string const& bytes() const noexcept { return bytes_; }

  private:
    std::string bytes_;
};

}  // namespace Varnok
