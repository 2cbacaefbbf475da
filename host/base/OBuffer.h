#pragma once

#include "host/base/Writer.h"

namespace Varnok {

// A writer over a byte array that the caller owns and keeps alive. It never grows the array: what does not fit whole is
// not written.
class TORVANE_API OBuffer final : public Writer {
  public:
    // Writes into *buf from byte `start`; the array holds `capacity` bytes.
    OBuffer(unsigned char** buf, long long start, long long capacity) noexcept;
    int write_int16(short value) noexcept override;
    int write_uint16(unsigned short value) noexcept override;
    int write_int32(int value) noexcept override;
    int write_int64(long long value) noexcept override;
    long long write_buffer(void const* bytes, long long length) noexcept override;
    // Bytes written so far.
    [[nodiscard]] long long GetLength() const noexcept { return position_ - start_; }

  private:
    unsigned char* bytes_;
    long long start_;
    long long position_;
    long long capacity_;
};

}  // namespace Varnok
