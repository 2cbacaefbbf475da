#pragma once

#include <compare>
#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/Export.h"

// A text of 16-bit wide characters (UTF-16 units), used for every text, path, id and MD5.
//
// Narrow text is UTF-8. A character above U+FFFF becomes a surrogate pair; a byte that is not UTF-8 becomes one lone
// unit U+DC80..U+DCFF. The way back joins pairs and turns such lone units into their bytes again, so that every file
// name survives; any other lone surrogate is written as its three bytes. Lengths and indexes count units.
//
// A value type: each object belongs to one thread at a time, copies are independent. Like a standard string it throws
// std::bad_alloc when memory runs out and nothing else.
class TORVANE_API HString {
  public:
    HString() noexcept = default;
    HString(char const* utf8);  // null is the empty text
    HString(std::string_view utf8);
    HString(std::string const& utf8);
    HString(wchar_t const* text);             // null is the empty text; a character above U+FFFF becomes a pair
    explicit HString(char16_t const* units);  // zero-terminated; null is the empty text
    explicit HString(std::u16string units) noexcept;
    // Decimal text.
    explicit HString(int number);
    explicit HString(unsigned number);
    explicit HString(long long number);
    explicit HString(unsigned long long number);

    [[nodiscard]] int length() const noexcept { return static_cast<int>(units_.size()); }
    [[nodiscard]] bool empty() const noexcept { return units_.empty(); }
    [[nodiscard]] bool not_empty() const noexcept { return !units_.empty(); }
    // The unit at `index`, 0 <= index < length().
    [[nodiscard]] char16_t operator[](int index) const noexcept { return units_[static_cast<std::size_t>(index)]; }
    [[nodiscard]] std::u16string_view view() const noexcept { return units_; }
    void clear() noexcept { units_.clear(); }

    HString& operator<<(HString const& tail);
    HString& operator<<(char const* utf8);
    HString& operator<<(long long number);
    HString& operator<<(int number);

    // By unit values, the shorter first.
    friend bool operator==(HString const& a, HString const& b) noexcept {
        std::size_t const count = a.units_.size();
        return count == b.units_.size() && std::memcmp(a.units_.data(), b.units_.data(), count * sizeof(char16_t)) == 0;
    }
    friend std::strong_ordering operator<=>(HString const& a, HString const& b) noexcept {
        return a.units_.compare(b.units_) <=> 0;
    }

    // The narrow form. `encoding` 0 is UTF-8, the only one there is.
    [[nodiscard]] std::string get_str(int encoding = 0) const;
    // Writes the narrow form and a terminating zero into `buffer`; false when it does not fit. For paths: no
    // allocation.
    [[nodiscard]] bool copy_narrow(char* buffer, std::size_t capacity) const noexcept;

    // MD5 (RFC 1321) of the text in the named encoding (empty: UTF-8, the only one there is) as 32 hexadecimal digits,
    // upper case or lower case.
    [[nodiscard]] HString get_md5_std_format(HString const& encoding) const;
    [[nodiscard]] HString get_md5_std_format_lower(HString const& encoding) const;

    // A to Z become a to z. Other letters stay as they are: keys on disk must not depend on a locale or a Unicode
    // version.
    HString& to_lower_case() noexcept;

    // Paths. `dir_fit(true)` makes the text end in exactly one separator, `dir_fit(false)` in none ("/" stays); both
    // change the text and return it. An empty text stays empty.
    HString& dir_fit(bool with_separator);
    // What follows the last separator; the whole text when there is none.
    [[nodiscard]] HString get_short_name() const;
    // Whether the text begins with `prefix`; `whole_components` true compares whole path components ("/x/cache2" does
    // not begin with "/x/cache", "/x/cache" and "/x/cache/a" do; a separator at the end of either does not matter).
    // Nothing lies below an empty prefix. The texts are compared as they stand: "." and ".." have no meaning here.
    [[nodiscard]] bool is_begin_by(HString const& prefix, bool whole_components) const noexcept;

    // Index of the first `unit`, or -1.
    [[nodiscard]] int find(char16_t unit) const noexcept;
    // Cuts off the first `count` units (all of them when there are fewer; a count below 1 changes nothing).
    HString& cut_first(int count);
    // Cuts every unit that occurs in `characters` off both ends.
    HString& trim_both(HString const& characters);
    // Appends the parts between the separators to `parts`: n separators give n + 1 parts, empty ones included; an empty
    // text gives none. An empty separator gives the text as one part.
    void get_vt_str_by_sep(std::vector<HString>& parts, HString const& separator) const;
    // The members in order, joined with `separator`.
    [[nodiscard]] static HString make_by_set_s(std::set<HString> const& members, HString const& separator);

  private:
    std::u16string units_;
};
