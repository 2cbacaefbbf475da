#pragma once

#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"

namespace Varnok {
class Reader;
class Writer;
}  // namespace Varnok

namespace DLPCache {

// Base of every record that the cache keeps on disk: how a record reports its size, writes and reads itself, and how it
// becomes a buffer and comes back. Integers are little-endian; a text is a signed 16-bit count and that many 16-bit
// units; a list of texts is a 32-bit count, the 32-bit byte size of the texts, then the texts.
//
// A record belongs to one thread at a time. Nothing throws: failures (missing memory too) are false and, but where
// noted, an assertion line in the log.
class TORVANE_API SerialBasic {
  public:
    virtual ~SerialBasic();
    // Exactly the bytes that Write will produce for the record as it stands; 0 or less: it cannot be encoded.
    [[nodiscard]] virtual int Size() const = 0;
    [[nodiscard]] virtual bool Write(Varnok::Writer* w) = 0;
    // `size` is the length in bytes of the buffer being decoded, or what the enclosing record says of this one's.
    [[nodiscard]] virtual bool Read(Varnok::Reader* r, int size) = 0;

    // Encodes the record into a new array; `buf` is freed first when it is not null. On success the caller frees `buf`
    // with array delete; on failure `buf` is null, or as it was when the record's size is 0 or less.
    [[nodiscard]] bool ToBuffer(unsigned char*& buf, int& len) noexcept;
    // Decodes the record from a buffer that stays the caller's.
    [[nodiscard]] bool FromBuffer(unsigned char* buf, int len) noexcept;

  protected:
    [[nodiscard]] int Size(signed char) const noexcept { return 1; }
    [[nodiscard]] int Size(unsigned char) const noexcept { return 1; }
    [[nodiscard]] int Size(short) const noexcept { return 2; }
    [[nodiscard]] int Size(unsigned short) const noexcept { return 2; }
    [[nodiscard]] int Size(int) const noexcept { return 4; }
    [[nodiscard]] int Size(unsigned int) const noexcept { return 4; }
    [[nodiscard]] int Size(long long) const noexcept { return 8; }
    [[nodiscard]] int Size(unsigned long long) const noexcept { return 8; }
    // INT_MAX stands for every size that an int cannot tell; ToBuffer refuses a record of that size.
    [[nodiscard]] int Size(HString const& s) const noexcept;
    [[nodiscard]] int Size(std::vector<HString> const& v) const noexcept;

    // `maxLen` limits the characters of each text; below 1: no limit. The writer cuts a longer text, the reader refuses
    // it, so that a record notices an over-long field. The size of a list is that of the uncut texts: callers pass
    // limits that their texts do not exceed. ReadVTHString appends to `v`; on failure the elements read so far stay in
    // it.
    [[nodiscard]] bool WriteHString(Varnok::Writer* w, HString const& s, int maxLen);
    [[nodiscard]] bool ReadHString(Varnok::Reader* r, HString& s, int maxLen);
    [[nodiscard]] bool WriteVTHString(Varnok::Writer* w, std::vector<HString> const& v, int maxLen);
    [[nodiscard]] bool ReadVTHString(Varnok::Reader* r, std::vector<HString>& v, int maxLen);
};

}  // namespace DLPCache
