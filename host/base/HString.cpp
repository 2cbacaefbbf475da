#include "host/base/HString.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

#include "host/base/Md5.h"
#include "host/base/Utf8Units.h"

namespace {

constexpr char16_t kSeparator = u'/';

template <class Number>
void AppendDecimal(std::u16string& units, Number number) {
    char digits[std::numeric_limits<Number>::digits10 + 3];
    auto const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    units.append(std::begin(digits), end);
}

void AppendWide(std::u16string& units, wchar_t wide) {
    auto const code = static_cast<char32_t>(wide);
    if (code > 0x10FFFF) {
        units.push_back(u'\uFFFD');
    } else if (code >= 0x10000) {
        units.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
        units.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
    } else {
        units.push_back(static_cast<char16_t>(code));
    }
}

// Without the separators at its end; "/" stays.
std::u16string_view WithoutSeparatorAtEnd(std::u16string_view path) noexcept {
    while (path.size() > 1 && path.back() == kSeparator)
        path.remove_suffix(1);
    return path;
}

Varnok::Md5::Digest Md5Of(std::u16string_view units) noexcept {
    Varnok::Md5 md5;
    Varnok::ForEachNarrowPiece(units, [&md5](std::string_view piece) { md5.Update(piece.data(), piece.size()); });
    return md5.Finish();
}

}  // namespace

HString::HString(char const* utf8) {
    if (utf8 != nullptr) Varnok::AppendUnits(units_, utf8);
}

HString::HString(std::string_view utf8) {
    Varnok::AppendUnits(units_, utf8);
}

HString::HString(std::string const& utf8) {
    Varnok::AppendUnits(units_, utf8);
}

HString::HString(wchar_t const* text) {
    for (; text != nullptr && *text != L'\0'; ++text)
        AppendWide(units_, *text);
}

HString::HString(char16_t const* units) {
    if (units != nullptr) units_ = units;
}

HString::HString(std::u16string units) noexcept : units_(std::move(units)) {}

HString::HString(int number) {
    AppendDecimal(units_, number);
}

HString::HString(unsigned number) {
    AppendDecimal(units_, number);
}

HString::HString(long long number) {
    AppendDecimal(units_, number);
}

HString::HString(unsigned long long number) {
    AppendDecimal(units_, number);
}

HString& HString::operator<<(HString const& tail) {
    units_ += tail.units_;
    return *this;
}

HString& HString::operator<<(char const* utf8) {
    if (utf8 != nullptr) Varnok::AppendUnits(units_, utf8);
    return *this;
}

HString& HString::operator<<(long long number) {
    AppendDecimal(units_, number);
    return *this;
}

HString& HString::operator<<(int number) {
    AppendDecimal(units_, number);
    return *this;
}

std::string HString::get_str(int /*encoding*/) const {
    std::string narrow;
    Varnok::AppendNarrow(narrow, units_);
    return narrow;
}

bool HString::copy_narrow(char* buffer, std::size_t capacity) const noexcept {
    if (capacity == 0) return false;
    std::size_t const length = Varnok::CopyNarrow(units_, buffer, capacity - 1);
    if (length >= capacity) return false;
    buffer[length] = '\0';
    return true;
}

HString HString::get_md5_std_format(HString const& /*encoding*/) const {
    char hex[32];
    Varnok::Md5::ToHexUpper(Md5Of(units_), hex);
    return HString(std::u16string(std::begin(hex), std::end(hex)));
}

HString HString::get_md5_std_format_lower(HString const& /*encoding*/) const {
    char hex[32];
    Varnok::Md5::ToHexLower(Md5Of(units_), hex);
    return HString(std::u16string(std::begin(hex), std::end(hex)));
}

HString& HString::to_lower_case() noexcept {
    for (char16_t& unit : units_) {
        if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + (u'a' - u'A'));
    }
    return *this;
}

HString& HString::dir_fit(bool with_separator) {
    units_.resize(WithoutSeparatorAtEnd(units_).size());
    if (with_separator && !units_.empty() && units_.back() != kSeparator) units_.push_back(kSeparator);
    return *this;
}

HString HString::get_short_name() const {
    std::size_t const separator = units_.rfind(kSeparator);
    return separator == std::u16string::npos ? *this : HString(units_.substr(separator + 1));
}

bool HString::is_begin_by(HString const& prefix, bool whole_components) const noexcept {
    if (!whole_components) return view().starts_with(prefix.view());
    std::u16string_view const path = WithoutSeparatorAtEnd(view());
    std::u16string_view const start = WithoutSeparatorAtEnd(prefix.view());
    if (start.empty() || !path.starts_with(start)) return false;
    return path.size() == start.size() || start.back() == kSeparator || path[start.size()] == kSeparator;
}

int HString::find(char16_t unit) const noexcept {
    std::size_t const index = units_.find(unit);
    return index == std::u16string::npos ? -1 : static_cast<int>(index);
}

HString& HString::cut_first(int count) {
    if (count > 0) units_.erase(0, static_cast<std::size_t>(count));
    return *this;
}

HString& HString::trim_both(HString const& characters) {
    std::size_t const last = units_.find_last_not_of(characters.units_);
    units_.erase(last == std::u16string::npos ? 0 : last + 1);
    units_.erase(0, std::min(units_.find_first_not_of(characters.units_), units_.size()));
    return *this;
}

void HString::get_vt_str_by_sep(std::vector<HString>& parts, HString const& separator) const {
    if (units_.empty()) return;
    if (separator.empty()) {
        parts.push_back(*this);
        return;
    }
    std::size_t start = 0;
    for (std::size_t end = 0; (end = units_.find(separator.units_, start)) != std::u16string::npos;) {
        parts.emplace_back().units_.assign(units_, start, end - start);
        start = end + separator.units_.size();
    }
    parts.emplace_back().units_.assign(units_, start);
}

HString HString::make_by_set_s(std::set<HString> const& members, HString const& separator) {
    HString joined;
    bool first = true;
    for (HString const& member : members) {
        if (!first) joined << separator;
        joined << member;
        first = false;
    }
    return joined;
}
