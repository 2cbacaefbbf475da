#pragma once

#include "host/base/Export.h"

namespace Varnok {

// Where records encode themselves to. Integers are little-endian. Every operation returns the number of bytes written:
// the full width on success, fewer (0) otherwise. One object, one thread; nothing throws.
class TORVANE_API Writer {
  public:
    virtual ~Writer();
    virtual int write_int16(short value) noexcept = 0;                                 // 2 bytes
    virtual int write_uint16(unsigned short value) noexcept = 0;                       // 2 bytes
    virtual int write_int32(int value) noexcept = 0;                                   // 4 bytes
    virtual int write_int64(long long value) noexcept = 0;                             // 8 bytes
    virtual long long write_buffer(void const* bytes, long long length) noexcept = 0;  // `length` bytes, copied
};

}  // namespace Varnok
