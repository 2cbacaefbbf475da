#pragma once

#include "host/base/Export.h"

namespace Varnok {

// Where records decode themselves from. Integers are little-endian. Every operation returns the number of bytes read:
// the full width on success, fewer at the data's end (then an integer is left as it was). One object, one thread;
// nothing throws.
class TORVANE_API Reader {
  public:
    virtual ~Reader();
    virtual int read_int16(short& value) noexcept = 0;                          // 2 bytes
    virtual int read_int32(int& value) noexcept = 0;                            // 4 bytes
    virtual int read_int64(long long& value) noexcept = 0;                      // 8 bytes
    virtual long long read_buffer(void* bytes, long long length) noexcept = 0;  // into the caller's array
    // Length in bytes of the whole data, read or not.
    [[nodiscard]] virtual long long data_length() const noexcept = 0;
    // Bytes not yet read.
    [[nodiscard]] virtual long long remaining() const noexcept = 0;
};

}  // namespace Varnok
