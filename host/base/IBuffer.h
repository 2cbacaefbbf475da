#pragma once

#include "host/base/Reader.h"

namespace Varnok {

// A reader over a byte array.
class TORVANE_API IBuffer final : public Reader {
  public:
    // Reads from `buf`, `len` bytes (a negative length counts as 0). With `own` the array is freed (array delete) with
    // the reader, without it it stays the caller's, who keeps it alive.
    IBuffer(unsigned char const* buf, long long len, bool own) noexcept;
    ~IBuffer() override;
    IBuffer(IBuffer const&) = delete;
    IBuffer& operator=(IBuffer const&) = delete;
    int read_int16(short& value) noexcept override;
    int read_int32(int& value) noexcept override;
    int read_int64(long long& value) noexcept override;
    long long read_buffer(void* bytes, long long length) noexcept override;
    [[nodiscard]] long long data_length() const noexcept override { return length_; }
    [[nodiscard]] long long remaining() const noexcept override { return length_ - position_; }

  private:
    unsigned char const* bytes_;
    long long length_;
    long long position_ = 0;
    bool own_;
};

}  // namespace Varnok
