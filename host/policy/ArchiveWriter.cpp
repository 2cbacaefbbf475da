#include "host/policy/ArchiveWriter.h"

#include <bit>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "host/base/LittleEndian.h"

namespace Varnok {
namespace {

template <class Integer>
void Append(std::string& bytes, Integer value) {
    std::uint8_t field[sizeof(Integer)];
    StoreLittleEndian(value, field);
    bytes.append(reinterpret_cast<char const*>(field), sizeof field);
}

void AppendUnitBytes(std::string& bytes, std::u16string_view units) {
    if constexpr (std::endian::native == std::endian::little) {
        bytes.append(reinterpret_cast<char const*>(units.data()), units.size() * sizeof(char16_t));
    } else {
        for (char16_t const unit : units)
            Append(bytes, static_cast<std::uint16_t>(unit));
    }
}

}  // namespace

void ArchiveWriter::PutByte(std::uint8_t value) {
    Append(bytes_, value);
}
void ArchiveWriter::PutInt32(std::int32_t value) {
    Append(bytes_, value);
}
void ArchiveWriter::PutInt64(std::int64_t value) {
    Append(bytes_, value);
}

void ArchiveWriter::PutCount(std::size_t count) {
    if (count > std::numeric_limits<std::uint32_t>::max()) throw std::length_error("count");
    Append(bytes_, static_cast<std::uint32_t>(count));
}

void ArchiveWriter::PutText(HString const& text) {
    PutCount(text.view().size());
    AppendUnitBytes(bytes_, text.view());
}

void ArchiveWriter::PutTexts(std::vector<HString> const& texts) {
    PutCount(texts.size());
    for (HString const& text : texts)
        PutText(text);
}

}  // namespace Varnok
