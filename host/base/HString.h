#pragma once

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/Export.h"

// A text of 16-bit wide characters (UTF-16 units), used for every text, path, id and MD5.
//
// Narrow text is UTF-8. A character above U+FFFF becomes a surrogate pair; a byte that is not UTF-8 becomes one lone
// unit U+DC80..U+DCFF. The way back joins pairs and turns such lone units into their bytes again, so that every file
// name survives; any other lone surrogate is written as its three bytes. Lengths and indexes count units.
//
// A value type: each object belongs to one thread at a time, copies are independent. Copies share their units until one
// of them is changed, since answers repeat the same names and ids over and over: copying takes no memory and does not
// throw. Like a standard string it throws std::bad_alloc when memory runs out and nothing else.
class TORVANE_API HString {
  public:
    HString() noexcept = default;
    HString(HString const& other) noexcept : block_(other.block_) {
        if (block_ != nullptr) block_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    HString(HString&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    ~HString() { Release(); }
    HString& operator=(HString const& other) noexcept { return *this = HString(other); }
    HString& operator=(HString&& other) noexcept {
        std::swap(block_, other.block_);
        return *this;
    }
    HString(char const* utf8);                    // zero-terminated; null is the empty text
    HString(std::string_view utf8);               // may hold zeros
    HString(std::string const& utf8);             // the same
    HString(wchar_t const* text);                 // null is the empty text; a character above U+FFFF becomes a pair
    explicit HString(char16_t const* units);      // zero-terminated; null is the empty text
    explicit HString(std::u16string_view units);  // taken as they are, zeros and lone surrogates too
    // Decimal text.
    explicit HString(int number);
    explicit HString(unsigned number);
    explicit HString(long long number);
    explicit HString(unsigned long long number);
    // The same; `with_plus` puts a "+" before a number above 0.
    HString(long long number, bool with_plus);
    explicit HString(bool truth);  // "1" or "0"

    [[nodiscard]] int length() const noexcept { return static_cast<int>(size()); }  // in units
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }               // has no unit
    [[nodiscard]] bool not_empty() const noexcept { return size() != 0; }           // has one or more
    // The unit at `index`, 0 <= index < length().
    [[nodiscard]] char16_t operator[](int index) const noexcept { return view()[static_cast<std::size_t>(index)]; }
    [[nodiscard]] std::u16string_view view() const noexcept {
        return block_ == nullptr ? std::u16string_view() : std::u16string_view(block_->units(), block_->length);
    }
    void clear() noexcept {
        Release();
        block_ = nullptr;
    }
    // For decoders: makes the text `length` units long and gives the place where they go; what stands there before is
    // not defined. Valid until the object is changed, copied or destroyed.
    [[nodiscard]] char16_t* prepare(std::size_t length);
    // Cuts the text to its first `length` units; a longer one than it has changes nothing.
    void cut_to(std::size_t length);

    HString& operator<<(HString const& tail);  // appends it
    HString& operator<<(char const* utf8);     // the same; null appends nothing
    HString& operator<<(long long number);     // appends decimal text
    HString& operator<<(int number);           // the same

    // By unit values, the shorter first.
    friend bool operator==(HString const& a, HString const& b) noexcept {
        if (a.block_ == b.block_) return true;
        std::size_t const count = a.size();
        return count == b.size() &&
               (count == 0 || std::memcmp(a.block_->units(), b.block_->units(), count * sizeof(char16_t)) == 0);
    }
    friend std::strong_ordering operator<=>(HString const& a, HString const& b) noexcept {
        return a.block_ == b.block_ ? std::strong_ordering::equal : a.view().compare(b.view()) <=> 0;
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
    HString& to_lower_case();

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
    // The units of one or more objects; they follow it in memory. Changed only while it has one owner.
    struct Block {
        std::atomic<std::size_t> owners{1};
        std::size_t length = 0;
        std::size_t capacity = 0;

        [[nodiscard]] char16_t* units() noexcept { return reinterpret_cast<char16_t*>(this + 1); }
    };

    [[nodiscard]] std::size_t size() const noexcept { return block_ == nullptr ? 0 : block_->length; }
    void Release() noexcept {
        if (block_ == nullptr) return;
        // The only owner needs no counting: nobody else can copy from it.
        if (block_->owners.load(std::memory_order_acquire) == 1 ||
            block_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            ::operator delete(block_);
        }
    }
    [[nodiscard]] static Block* MakeBlock(std::size_t capacity);
    // Makes room for `more` units behind the text in a block of its own; gives the place where they go.
    char16_t* Grow(std::size_t more);
    void Append(std::u16string_view units);
    void AppendUtf8(std::string_view utf8);
    template <class Number>
    void AppendDecimal(Number number);

    Block* block_ = nullptr;  // null: empty
};
