#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

// The mapping between narrow text (UTF-8, or any bytes) and 16-bit units that HString documents.
namespace Varnok {

// Writes the units of `narrow`, at most one for each byte, and returns how many there are.
std::size_t CopyUnits(std::string_view narrow, char16_t* units) noexcept;
void AppendUnits(std::u16string& units, std::string_view narrow);
void AppendNarrow(std::string& narrow, std::u16string_view units);
// Writes the narrow form without a terminator into `buffer`; returns its length, or capacity + 1 when it does not fit.
std::size_t CopyNarrow(std::u16string_view units, char* buffer, std::size_t capacity) noexcept;

// Length of the UTF-8 sequence that `narrow` begins with, 0 when its first byte begins none. Strict: no overlong forms,
// no surrogates, nothing above U+10FFFF.
std::size_t SequenceLength(std::string_view narrow) noexcept;

// Calls `sink(std::string_view)` with the narrow form piece by piece, without allocating.
template <class Sink>
void ForEachNarrowPiece(std::u16string_view units, Sink&& sink) {
    constexpr std::size_t kPiece = 256;
    std::array<char, 3 * kPiece> buffer;  // no unit needs more than three bytes
    while (!units.empty()) {
        std::size_t count = std::min(kPiece, units.size());
        bool const splits_pair = count < units.size() && units[count - 1] >= 0xD800 && units[count - 1] <= 0xDBFF;
        if (splits_pair) --count;
        std::size_t const length = CopyNarrow(units.substr(0, count), buffer.data(), buffer.size());
        sink(std::string_view(buffer.data(), length));
        units.remove_prefix(count);
    }
}

}  // namespace Varnok
