#include "host/base/Utf8Units.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Varnok {
namespace {

constexpr char16_t kLoneByteBase = 0xDC00;  // the lone unit of a byte b that is not UTF-8 is kLoneByteBase + b

// Narrows the ASCII units at the front, at most `count`; returns how many there were.
std::size_t NarrowAscii(char16_t const* units, std::size_t count, char* narrow) noexcept {
    std::size_t i = 0;
#if defined(__SSE2__)
    __m128i const above_ascii = _mm_set1_epi16(static_cast<short>(0xFF80));
    for (; i + 8 <= count; i += 8) {
        __m128i const eight = _mm_loadu_si128(reinterpret_cast<__m128i const*>(units + i));
        __m128i const is_ascii = _mm_cmpeq_epi16(_mm_and_si128(eight, above_ascii), _mm_setzero_si128());
        if (_mm_movemask_epi8(is_ascii) != 0xFFFF) break;
        _mm_storel_epi64(reinterpret_cast<__m128i*>(narrow + i), _mm_packus_epi16(eight, eight));
    }
#endif
    for (; i < count && units[i] < 0x80; ++i)
        narrow[i] = static_cast<char>(units[i]);
    return i;
}

// Widens the ASCII bytes at the front, at most `count`; returns how many there were.
std::size_t WidenAscii(char const* narrow, std::size_t count, char16_t* units) noexcept {
    std::size_t i = 0;
#if defined(__SSE2__)
    for (; i + 16 <= count; i += 16) {
        __m128i const sixteen = _mm_loadu_si128(reinterpret_cast<__m128i const*>(narrow + i));
        if (_mm_movemask_epi8(sixteen) != 0) break;
        __m128i const zero = _mm_setzero_si128();
        _mm_storeu_si128(reinterpret_cast<__m128i*>(units + i), _mm_unpacklo_epi8(sixteen, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(units + i + 8), _mm_unpackhi_epi8(sixteen, zero));
    }
#endif
    for (; i < count && static_cast<unsigned char>(narrow[i]) < 0x80; ++i) {
        units[i] = static_cast<char16_t>(narrow[i]);
    }
    return i;
}

bool IsHighSurrogate(char16_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char16_t unit) noexcept {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

struct Encoded {
    std::array<char, 4> bytes{};
    std::size_t length = 0;  // of the bytes
    std::size_t units = 1;   // that they stand for
};

char Byte(std::uint32_t value) noexcept {
    return static_cast<char>(static_cast<unsigned char>(value));
}

// The bytes of the character at the front of `units`, which is not empty.
Encoded EncodeOne(std::u16string_view units) noexcept {
    std::uint32_t const first = units[0];
    if (first < 0x80) return {{Byte(first)}, 1, 1};
    if (first < 0x800) return {{Byte(0xC0 | first >> 6), Byte(0x80 | (first & 0x3F))}, 2, 1};
    if (IsHighSurrogate(units[0]) && units.size() > 1 && IsLowSurrogate(units[1])) {
        std::uint32_t const code = 0x10000 + ((first - 0xD800) << 10) + (units[1] - 0xDC00U);
        return {{Byte(0xF0 | code >> 18), Byte(0x80 | (code >> 12 & 0x3F)), Byte(0x80 | (code >> 6 & 0x3F)),
                 Byte(0x80 | (code & 0x3F))},
                4,
                2};
    }
    if (first >= kLoneByteBase + 0x80U && first <= kLoneByteBase + 0xFFU) return {{Byte(first - kLoneByteBase)}, 1, 1};
    return {{Byte(0xE0 | first >> 12), Byte(0x80 | (first >> 6 & 0x3F)), Byte(0x80 | (first & 0x3F))}, 3, 1};
}

// What the first byte of a UTF-8 sequence says: its length (0: no first byte) and the range of its second byte, which
// rules out overlong forms, surrogates and what lies above U+10FFFF.
struct Lead {
    std::size_t length = 0;
    unsigned char second_low = 0x80;
    unsigned char second_high = 0xBF;
};

Lead LeadOf(unsigned char first) noexcept {
    if (first < 0xC2 || first > 0xF4) return {};
    if (first < 0xE0) return {2};
    if (first == 0xE0) return {3, 0xA0, 0xBF};
    if (first == 0xED) return {3, 0x80, 0x9F};
    if (first < 0xF0) return {3};
    if (first == 0xF0) return {4, 0x90, 0xBF};
    if (first == 0xF4) return {4, 0x80, 0x8F};
    return {4};
}

std::uint32_t Code(std::string_view sequence) noexcept {
    auto const first = static_cast<unsigned char>(sequence[0]);
    std::uint32_t code = sequence.size() == 2 ? first & 0x1FU : sequence.size() == 3 ? first & 0x0FU : first & 0x07U;
    for (char const next : sequence.substr(1))
        code = code << 6 | (static_cast<unsigned char>(next) & 0x3FU);
    return code;
}

}  // namespace

std::size_t SequenceLength(std::string_view narrow) noexcept {
    if (narrow.empty()) return 0;
    auto const first = static_cast<unsigned char>(narrow[0]);
    if (first < 0x80) return 1;
    Lead const lead = LeadOf(first);
    if (lead.length == 0 || lead.length > narrow.size()) return 0;
    auto const second = static_cast<unsigned char>(narrow[1]);
    if (second < lead.second_low || second > lead.second_high) return 0;
    for (std::size_t i = 2; i < lead.length; ++i) {
        if ((static_cast<unsigned char>(narrow[i]) & 0xC0U) != 0x80U) return 0;
    }
    return lead.length;
}

std::size_t CopyUnits(std::string_view narrow, char16_t* units) noexcept {
    std::size_t out = 0;
    std::size_t in = 0;
    while (in < narrow.size()) {
        std::size_t const ascii = WidenAscii(narrow.data() + in, narrow.size() - in, units + out);
        in += ascii;
        out += ascii;
        if (in == narrow.size()) break;
        std::size_t const length = SequenceLength(narrow.substr(in));
        if (length == 0) {
            units[out++] = static_cast<char16_t>(kLoneByteBase + static_cast<unsigned char>(narrow[in++]));
            continue;
        }
        std::uint32_t const code = Code(narrow.substr(in, length));
        in += length;
        if (code >= 0x10000) {
            units[out++] = static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
            units[out++] = static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
        } else {
            units[out++] = static_cast<char16_t>(code);
        }
    }
    return out;
}

void AppendUnits(std::u16string& units, std::string_view narrow) {
    std::size_t const length = units.size();
    units.resize(length + narrow.size());  // no byte becomes more than one unit
    units.resize(length + CopyUnits(narrow, units.data() + length));
}

std::size_t CopyNarrow(std::u16string_view units, char* buffer, std::size_t capacity) noexcept {
    std::size_t in = 0;
    std::size_t out = 0;
    while (in < units.size()) {
        std::size_t const ascii =
            NarrowAscii(units.data() + in, std::min(units.size() - in, capacity - out), buffer + out);
        in += ascii;
        out += ascii;
        if (in == units.size()) break;
        Encoded const next = EncodeOne(units.substr(in));
        if (next.length > capacity - out) return capacity + 1;
        std::memcpy(buffer + out, next.bytes.data(), next.length);
        in += next.units;
        out += next.length;
    }
    return out;
}

void AppendNarrow(std::string& narrow, std::u16string_view units) {
    narrow.reserve(narrow.size() + units.size());
    ForEachNarrowPiece(units, [&narrow](std::string_view piece) { narrow.append(piece); });
}

}  // namespace Varnok
