#include "host/policy/KwIdName.h"

#include <string>
#include <string_view>

namespace {

constexpr char16_t kEscape = u'%';
constexpr char16_t kWideEscape = u'u';  // after kEscape: four digits follow instead of two
constexpr char16_t kDigits[] = u"0123456789ABCDEF";

bool IsHigh(char16_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLow(char16_t unit) noexcept {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

bool IsPair(std::u16string_view units, std::size_t index) noexcept {
    return index + 1 < units.size() && IsHigh(units[index]) && IsLow(units[index + 1]);
}

bool NeedsEscape(char16_t unit, std::size_t index) noexcept {
    return unit < 0x20 || unit == 0x7F || unit == u'/' || unit == kEscape || (unit == u'.' && index == 0);
}

void AppendDigits(std::u16string& name, char16_t unit, int count) {
    for (int shift = 4 * (count - 1); shift >= 0; shift -= 4)
        name += kDigits[(unit >> shift) & 0xF];
}

// The value of `count` digits from `index` on, or -1.
int ParseDigits(std::u16string_view name, std::size_t index, std::size_t count) noexcept {
    if (name.size() < index + count) return -1;
    int value = 0;
    for (char16_t const unit : name.substr(index, count)) {
        auto const digit = std::u16string_view(kDigits).find(unit);
        if (digit == std::u16string_view::npos) return -1;
        value = value * 16 + static_cast<int>(digit);
    }
    return value;
}

// Undoes every escape, whether needed or not; false for a broken one.
bool Unescape(std::u16string_view name, std::u16string& id) {
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] != kEscape) {
            id += name[i];
            continue;
        }
        bool const wide = i + 1 < name.size() && name[i + 1] == kWideEscape;
        std::size_t const first = wide ? i + 2 : i + 1;
        std::size_t const count = wide ? 4 : 2;
        int const value = ParseDigits(name, first, count);
        if (value < 0) return false;
        id += static_cast<char16_t>(value);
        i = first + count - 1;
    }
    return true;
}

}  // namespace

namespace Varnok {

HString IdToFileName(HString const& id) {
    std::u16string_view const units = id.view();
    std::u16string name;
    name.reserve(units.size() + 1);
    if (units.empty()) name += kEscape;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char16_t const unit = units[i];
        if (IsPair(units, i)) {
            name.append(units.substr(i++, 2));
        } else if (IsHigh(unit) || IsLow(unit)) {
            name += kEscape;
            name += kWideEscape;
            AppendDigits(name, unit, 4);
        } else if (NeedsEscape(unit, i)) {
            name += kEscape;
            AppendDigits(name, unit, 2);
        } else {
            name += unit;
        }
    }
    return HString(std::move(name));
}

bool FileNameToId(HString const& name, HString& id) {
    id.clear();
    if (name.view() == std::u16string_view(&kEscape, 1)) return true;
    std::u16string units;
    if (name.empty() || !Unescape(name.view(), units)) return false;
    // Only the one name that the id has is its name: an escape that was not needed, or a unit that needed one, is
    // refused.
    HString decoded(std::move(units));
    if (IdToFileName(decoded) != name) return false;
    id = std::move(decoded);
    return true;
}

}  // namespace Varnok
