#include "storage/DLPCacheSerial.h"

#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>

#include "host/base/IBuffer.h"
#include "host/base/NoThrow.h"
#include "host/base/OBuffer.h"
#include "storage/DLPCacheLog.h"

namespace DLPCache {

namespace {

constexpr SourceLog kLog{L"../DLPCacheIndex.cpp"};

constexpr int kUnitWidth = 2;
constexpr int kListHeadSize = 8;
// What stands for every size that an int cannot tell. No record of that size is encoded.
constexpr int kSizeLimit = INT_MAX;

long long TextSize(HString const& s) noexcept {
    return kUnitWidth * (static_cast<long long>(s.length()) + 1);
}

int Narrowed(long long size) noexcept {
    return size < kSizeLimit ? static_cast<int>(size) : kSizeLimit;
}

// The units as this machine has them, from units as they came off the wire.
void FromWire(std::span<char16_t> units) noexcept {
    if constexpr (std::endian::native == std::endian::big) {
        for (char16_t& unit : units)
            unit = static_cast<char16_t>((unit << 8) | (unit >> 8));
    }
}

// Writes the first units of a text in one piece where this machine has them as the wire does. False, with nothing
// written, elsewhere and when there is no room for all of them.
bool WriteAtOnce(Varnok::Writer& w, HString const& s, short count) noexcept {
    long long const width = static_cast<long long>(count) * kUnitWidth;
    return std::endian::native == std::endian::little && count > 0 && w.write_buffer(s.view().data(), width) == width;
}

// The units before the first that is zero. Looks at four at a time: few texts have one.
std::size_t LengthToZero(std::span<char16_t const> units) noexcept {
    constexpr std::uint64_t kOnes = 0x0001000100010001;
    constexpr std::uint64_t kHighBits = 0x8000800080008000;
    std::size_t i = 0;
    for (; i + 4 <= units.size(); i += 4) {
        std::uint64_t four = 0;
        std::memcpy(&four, &units[i], sizeof four);
        if (((four - kOnes) & ~four & kHighBits) != 0) break;
    }
    while (i < units.size() && units[i] != 0)
        ++i;
    return i;
}

}  // namespace

SerialBasic::~SerialBasic() = default;

int SerialBasic::Size(HString const& s) const noexcept {
    return Narrowed(TextSize(s));
}

int SerialBasic::Size(std::vector<HString> const& v) const noexcept {
    long long size = kListHeadSize;
    for (HString const& s : v)
        size += TextSize(s);
    return Narrowed(size);
}

bool SerialBasic::WriteHString(Varnok::Writer* w, HString const& s, int maxLen) {
    if (w == nullptr) return kLog.Failed("WriteHString", 906, kAssertNull, false);
    int const length = maxLen >= 1 && s.length() > maxLen ? maxLen : s.length();
    auto const count = static_cast<short>(length);  // wraps from 32768 on; callers keep texts short
    if (int const ret = w->write_int16(count); ret != 2) {
        return kLog.Failed("WriteHString", 919, kAssertWriteInt16, ret, false);
    }
    if (WriteAtOnce(*w, s, count)) return true;
    for (int i = 0; i < count; ++i) {
        if (int const ret = w->write_uint16(s[i]); ret != 2) {
            return kLog.Failed("WriteHString", 933, kAssertWriteUInt16, ret, false);
        }
    }
    return true;
}

bool SerialBasic::ReadHString(Varnok::Reader* r, HString& s, int maxLen) {
    s.clear();
    if (r == nullptr) return kLog.Failed("ReadHString", 839, kAssertNull, false);
    short count = 0;
    if (int const ret = r->read_int16(count); ret != 2) {
        return kLog.Failed("ReadHString", 842, kAssertReadInt16, ret, false);
    }
    if (count == 0) return true;
    if (maxLen >= 1 && count > maxLen) return kLog.Failed("ReadHString", 850, kAssertFalse, false);
    if (count < 0) return kLog.Failed("ReadHString", 851, kAssertFalse, false);
    return NoThrow(false, [&] {
        long long const bytes = static_cast<long long>(kUnitWidth) * count;
        auto const length = static_cast<std::size_t>(count);
        char16_t* const units = s.prepare(length);
        if (r->read_buffer(units, bytes) != bytes) return s.clear(), false;
        FromWire(std::span(units, length));
        s.cut_to(LengthToZero({units, length}));  // a zero unit ends the text
        return true;
    });
}

bool SerialBasic::WriteVTHString(Varnok::Writer* w, std::vector<HString> const& v, int maxLen) {
    if (w == nullptr) return kLog.Failed("WriteVTHString", 943, kAssertNull, false);
    if (int const ret = w->write_int32(static_cast<int>(v.size())); ret != 4) {
        return kLog.Failed("WriteVTHString", 948, kAssertWriteInt32, ret, false);
    }
    if (int const ret = w->write_int32(Size(v) - kListHeadSize); ret != 4) {
        return kLog.Failed("WriteVTHString", 949, kAssertWriteInt32, ret, false);
    }
    for (HString const& s : v) {
        if (!WriteHString(w, s, maxLen)) return kLog.Failed("WriteVTHString", 953, kAssertFalse, false);
    }
    return true;
}

bool SerialBasic::ReadVTHString(Varnok::Reader* r, std::vector<HString>& v, int maxLen) {
    if (r == nullptr) return kLog.Failed("ReadVTHString", 877, kAssertNull, false);
    int count = 0;
    if (int const ret = r->read_int32(count); ret != 4) {
        return kLog.Failed("ReadVTHString", 880, kAssertReadInt32, ret, false);
    }
    int size = 0;
    if (int const ret = r->read_int32(size); ret != 4) {
        return kLog.Failed("ReadVTHString", 883, kAssertReadInt32, ret, false);
    }
    long long sum = 0;
    for (int i = 0; i < count; ++i) {
        HString s;
        if (!ReadHString(r, s, maxLen)) return kLog.Failed("ReadVTHString", 889, kAssertFalse, false);
        sum += TextSize(s);
        if (sum > size) return kLog.Failed("ReadVTHString", 892, kAssertFalse, false);
        if (!NoThrow(false, [&] { return v.push_back(std::move(s)), true; })) return false;
    }
    return sum == size;
}

bool SerialBasic::ToBuffer(unsigned char*& buf, int& len) noexcept {
    len = NoThrow(0, [&] { return Size(); });
    if (len <= 0 || len == kSizeLimit) return kLog.Failed("ToBuffer", 805, kAssertFalse, false);
    delete[] buf;
    buf = nullptr;
    std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[static_cast<std::size_t>(len)]);
    if (bytes == nullptr) return false;
    unsigned char* start = bytes.get();
    Varnok::OBuffer writer(&start, 0, len);
    if (!NoThrow(false, [&] { return Write(&writer); }) || writer.GetLength() != len) return false;
    buf = bytes.release();
    return true;
}

bool SerialBasic::FromBuffer(unsigned char* buf, int len) noexcept {
    if (buf == nullptr) return kLog.Failed("FromBuffer", 830, kAssertNull, false);
    Varnok::IBuffer reader(buf, len, false);
    return NoThrow(false, [&] { return Read(&reader, len); });
}

}  // namespace DLPCache
