#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The mapping between narrow text (UTF-8, or any bytes) and 16-bit units that HString documents.
namespace Varnok {

void AppendUnits(std::u16string& units, std::string_view narrow);
void AppendNarrow(std::string& narrow, std::u16string_view units);
// Writes the narrow form without a terminator into `buffer`; returns its length, or capacity + 1 when it does not fit.
std::size_t CopyNarrow(std::u16string_view units, char* buffer, std::size_t capacity) noexcept;

}  // namespace Varnok
