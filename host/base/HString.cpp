#include "host/base/HString.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <limits>
#include <new>
#include <span>

#include "host/base/Md5.h"
#include "host/base/Utf8Units.h"

namespace {

constexpr char16_t kSeparator = u'/';

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

HString::Block* HString::MakeBlock(std::size_t capacity) {
    void* const place = ::operator new(sizeof(Block) + capacity * sizeof(char16_t));
    auto* const block = new (place) Block;
    block->capacity = capacity;
    return block;
}

char16_t* HString::Grow(std::size_t more) {
    std::size_t const length = size();
    bool const own = block_ != nullptr && block_->owners.load(std::memory_order_acquire) == 1;
    if (!own || block_->capacity - length < more) {
        // Twice the length when a text is put together piece by piece, no more than needed for the first piece.
        Block* const block = MakeBlock(length == 0 ? more : std::max(length + more, 2 * length));
        if (length != 0) std::memcpy(block->units(), block_->units(), length * sizeof(char16_t));
        block->length = length;
        Release();
        block_ = block;
    }
    block_->length = length + more;
    return block_->units() + length;
}

char16_t* HString::prepare(std::size_t length) {
    clear();
    return length == 0 ? nullptr : Grow(length);
}

void HString::cut_to(std::size_t length) {
    if (length >= size()) return;
    if (length == 0) return clear();
    if (block_->owners.load(std::memory_order_acquire) == 1) {
        block_->length = length;
    } else {
        *this = HString(view().substr(0, length));
    }
}

void HString::Append(std::u16string_view units) {
    if (units.empty()) return;
    std::less_equal<> const not_behind;
    bool const own_units =
        not_empty() && not_behind(view().data(), units.data()) && not_behind(units.data(), view().data() + size());
    HString const keep = own_units ? *this : HString();  // Grow may let go of them
    std::memcpy(Grow(units.size()), units.data(), units.size() * sizeof(char16_t));
}

void HString::AppendUtf8(std::string_view utf8) {
    if (utf8.empty()) return;
    std::size_t const length = size();
    char16_t* const place = Grow(utf8.size());  // no byte becomes more than one unit
    block_->length = length + Varnok::CopyUnits(utf8, place);
}

template <class Number>
void HString::AppendDecimal(Number number) {
    char digits[std::numeric_limits<Number>::digits10 + 3];
    auto const end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    AppendUtf8({std::begin(digits), static_cast<std::size_t>(end - std::begin(digits))});
}

HString::HString(char const* utf8) {
    if (utf8 != nullptr) AppendUtf8(utf8);
}

HString::HString(std::string_view utf8) {
    AppendUtf8(utf8);
}

HString::HString(std::string const& utf8) {
    AppendUtf8(utf8);
}

HString::HString(wchar_t const* text) {
    std::u16string units;
    for (; text != nullptr && *text != L'\0'; ++text)
        AppendWide(units, *text);
    Append(units);
}

HString::HString(char16_t const* units) {
    if (units != nullptr) Append(units);
}

HString::HString(std::u16string_view units) {
    Append(units);
}

HString::HString(int number) {
    AppendDecimal(number);
}

HString::HString(unsigned number) {
    AppendDecimal(number);
}

HString::HString(long long number) {
    AppendDecimal(number);
}

HString::HString(unsigned long long number) {
    AppendDecimal(number);
}

HString::HString(long long number, bool with_plus) {
    if (with_plus && number > 0) AppendUtf8("+");
    AppendDecimal(number);
}

HString::HString(bool truth) {
    AppendUtf8(truth ? "1" : "0");
}

HString& HString::operator<<(HString const& tail) {
    if (empty()) return *this = tail;
    Append(tail.view());
    return *this;
}

HString& HString::operator<<(char const* utf8) {
    if (utf8 != nullptr) AppendUtf8(utf8);
    return *this;
}

HString& HString::operator<<(long long number) {
    AppendDecimal(number);
    return *this;
}

HString& HString::operator<<(int number) {
    AppendDecimal(number);
    return *this;
}

std::string HString::get_str(int /*encoding*/) const {
    std::string narrow;
    Varnok::AppendNarrow(narrow, view());
    return narrow;
}

bool HString::copy_narrow(char* buffer, std::size_t capacity) const noexcept {
    if (capacity == 0) return false;
    std::size_t const length = Varnok::CopyNarrow(view(), buffer, capacity - 1);
    if (length >= capacity) return false;
    buffer[length] = '\0';
    return true;
}

HString HString::get_md5_std_format(HString const& /*encoding*/) const {
    char hex[32];
    Varnok::Md5::ToHexUpper(Md5Of(view()), hex);
    return HString(std::string_view(hex, sizeof hex));
}

HString HString::get_md5_std_format_lower(HString const& /*encoding*/) const {
    char hex[32];
    Varnok::Md5::ToHexLower(Md5Of(view()), hex);
    return HString(std::string_view(hex, sizeof hex));
}

HString& HString::to_lower_case() {
    auto const is_upper = [](char16_t unit) { return unit >= u'A' && unit <= u'Z'; };
    if (std::none_of(view().begin(), view().end(), is_upper)) return *this;
    Grow(0);
    for (char16_t& unit : std::span(block_->units(), block_->length)) {
        if (is_upper(unit)) unit = static_cast<char16_t>(unit + (u'a' - u'A'));
    }
    return *this;
}

HString& HString::dir_fit(bool with_separator) {
    cut_to(WithoutSeparatorAtEnd(view()).size());
    if (with_separator && not_empty() && view().back() != kSeparator) Append({&kSeparator, 1});
    return *this;
}

HString HString::get_short_name() const {
    std::size_t const separator = view().rfind(kSeparator);
    return separator == std::u16string_view::npos ? *this : HString(view().substr(separator + 1));
}

bool HString::is_begin_by(HString const& prefix, bool whole_components) const noexcept {
    if (!whole_components) return view().starts_with(prefix.view());
    std::u16string_view const path = WithoutSeparatorAtEnd(view());
    std::u16string_view const start = WithoutSeparatorAtEnd(prefix.view());
    if (start.empty() || !path.starts_with(start)) return false;
    return path.size() == start.size() || start.back() == kSeparator || path[start.size()] == kSeparator;
}

int HString::find(char16_t unit) const noexcept {
    std::size_t const index = view().find(unit);
    return index == std::u16string_view::npos ? -1 : static_cast<int>(index);
}

HString& HString::cut_first(int count) {
    if (count > 0) *this = HString(view().substr(std::min(static_cast<std::size_t>(count), size())));
    return *this;
}

HString& HString::trim_both(HString const& characters) {
    std::size_t const last = view().find_last_not_of(characters.view());
    if (last == std::u16string_view::npos) return clear(), *this;
    std::size_t const first = view().find_first_not_of(characters.view());
    if (first == 0 && last + 1 == size()) return *this;
    return *this = HString(view().substr(first, last + 1 - first));
}

void HString::get_vt_str_by_sep(std::vector<HString>& parts, HString const& separator) const {
    if (empty()) return;
    if (separator.empty()) {
        parts.push_back(*this);
        return;
    }
    std::u16string_view const text = view();
    std::size_t start = 0;
    for (std::size_t end = 0; (end = text.find(separator.view(), start)) != std::u16string_view::npos;) {
        parts.emplace_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    parts.emplace_back(text.substr(start));
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
