#include "host/policy/ArchiveReader.h"

#include <bit>
#include <cstring>
#include <string>
#include <utility>

#include "host/base/LittleEndian.h"

namespace Varnok {
namespace {

constexpr std::size_t kLeastTextBytes = 4;  // its count

void LoadUnits(char const* bytes, std::size_t count, char16_t* units) noexcept {
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(units, bytes, count * sizeof(char16_t));
    } else {
        auto const* fields = reinterpret_cast<std::uint8_t const*>(bytes);
        for (std::size_t i = 0; i < count; ++i) {
            units[i] = static_cast<char16_t>(LoadLittleEndian<std::uint16_t>(fields + i * sizeof(char16_t)));
        }
    }
}

}  // namespace

template <class Integer>
bool ArchiveReader::Get(Integer& value) noexcept {
    good_ = good_ && rest_.size() >= sizeof(Integer);
    if (!good_) return false;
    value = LoadLittleEndian<Integer>(reinterpret_cast<std::uint8_t const*>(rest_.data()));
    rest_.remove_prefix(sizeof(Integer));
    return true;
}

bool ArchiveReader::GetByte(std::uint8_t& value) noexcept {
    return Get(value);
}
bool ArchiveReader::GetInt32(std::int32_t& value) noexcept {
    return Get(value);
}
bool ArchiveReader::GetInt64(std::int64_t& value) noexcept {
    return Get(value);
}

bool ArchiveReader::GetCount(std::size_t& count, std::size_t least_bytes) noexcept {
    std::uint32_t claimed = 0;
    good_ = Get(claimed) && claimed <= rest_.size() / least_bytes;
    if (good_) count = claimed;
    return good_;
}

bool ArchiveReader::GetText(HString& text) {
    std::size_t count = 0;
    if (!GetCount(count, sizeof(char16_t))) return false;
    text.clear();
    if (count != 0) LoadUnits(rest_.data(), count, text.prepare(count));
    rest_.remove_prefix(count * sizeof(char16_t));
    return true;
}

bool ArchiveReader::GetTexts(std::vector<HString>& texts) {
    std::size_t count = 0;
    if (!GetCount(count, kLeastTextBytes)) return false;
    std::vector<HString> read;
    for (std::size_t i = 0; i < count; ++i) {
        if (!GetText(read.emplace_back())) return false;
    }
    texts = std::move(read);
    return true;
}

}  // namespace Varnok
