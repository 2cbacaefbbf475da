#include "examples/scanner/Finders.h"

#include <algorithm>
#include <string>

namespace scanner {
namespace {

constexpr std::size_t kLeastCardDigits = 13;
constexpr std::size_t kMostCardDigits = 19;
constexpr std::size_t kMostLocalPart = 64;  // RFC 5321, 4.5.3.1.1
constexpr std::size_t kMostDomain = 255;    // RFC 5321, 4.5.3.1.2

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsLocal(char c) {
    return IsLetter(c) || IsDigit(c) || c == '.' || c == '_' || c == '%' || c == '+' || c == '-';
}
bool IsDomain(char c) {
    return IsLetter(c) || IsDigit(c) || c == '.' || c == '-';
}

// Where the local part that ends at `at` begins.
std::size_t LocalBegin(std::string_view text, std::size_t from, std::size_t at) {
    std::size_t begin = at;
    while (begin > from && at - begin < kMostLocalPart && IsLocal(text[begin - 1]))
        --begin;
    while (begin < at && text[begin] == '.')
        ++begin;
    return begin;
}

// Whether `domain` has two or more labels, none empty, none with a hyphen at an end, the last of at least two letters.
bool IsDomainName(std::string_view domain) {
    std::size_t labels = 0;
    while (true) {
        std::size_t const dot = domain.find('.');
        std::string_view const label = domain.substr(0, dot);
        if (label.empty() || label.front() == '-' || label.back() == '-') return false;
        ++labels;
        if (dot == std::string_view::npos) {
            return labels >= 2 && label.size() >= 2 && std::all_of(label.begin(), label.end(), IsLetter);
        }
        domain.remove_prefix(dot + 1);
    }
}

// Where the domain that begins at `begin` ends; `begin` when there is none.
std::size_t DomainEnd(std::string_view text, std::size_t begin) {
    std::size_t end = begin;
    while (end < text.size() && end - begin < kMostDomain && IsDomain(text[end]))
        ++end;
    while (end > begin && (text[end - 1] == '.' || text[end - 1] == '-'))
        --end;
    return IsDomainName(text.substr(begin, end - begin)) ? end : begin;
}

bool IsCardNumber(std::string const& digits) {
    return digits.size() >= kLeastCardDigits && digits.size() <= kMostCardDigits && digits.front() >= '2' &&
           digits.front() <= '6' && digits.find_first_not_of(digits.front()) != std::string::npos && PassesLuhn(digits);
}

// Takes the digits of the number at `begin`, which may have single separators, and gives its end. Of more digits than a
// number may have, only so many are kept that it cannot be mistaken for one.
std::size_t TakeDigits(std::string_view text, std::size_t begin, std::string& digits) {
    digits.clear();
    std::size_t at = begin;
    while (at < text.size()) {
        bool const separator = (text[at] == ' ' || text[at] == '-') && at + 1 < text.size() && IsDigit(text[at + 1]);
        if (!separator && !IsDigit(text[at])) break;
        if (!separator && digits.size() <= kMostCardDigits) digits += text[at];
        ++at;
    }
    return at;
}

}  // namespace

void FindExpression(re2::RE2 const& expression, std::string_view text, Matches& matches) {
    re2::StringPiece const piece(text.data(), text.size());
    re2::StringPiece found;
    std::size_t at = 0;
    while (at <= text.size() && expression.Match(piece, at, text.size(), re2::RE2::UNANCHORED, &found, 1)) {
        auto const begin = static_cast<std::size_t>(found.data() - text.data());
        std::size_t const end = begin + found.size();
        if (!found.empty()) matches.Add(begin, end);
        at = found.empty() ? end + 1 : end;
    }
}

void FindEmails(std::string_view text, Matches& matches) {
    std::size_t from = 0;
    for (std::size_t at = text.find('@'); at != std::string_view::npos; at = text.find('@', at + 1)) {
        std::size_t const begin = LocalBegin(text, from, at);
        if (begin == at || text[at - 1] == '.') continue;
        std::size_t const end = DomainEnd(text, at + 1);
        if (end == at + 1) continue;
        matches.Add(begin, end);
        from = end;
    }
}

void FindBankCards(std::string_view text, Matches& matches) {
    std::string digits;
    std::size_t at = 0;
    while (at < text.size()) {
        if (!IsDigit(text[at])) {
            ++at;
            continue;
        }
        std::size_t const begin = at;
        at = TakeDigits(text, begin, digits);
        if (IsCardNumber(digits)) matches.Add(begin, at);
    }
}

bool PassesLuhn(std::string_view digits) {
    int sum = 0;
    bool twice = false;
    for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit) {
        int const value = (*digit - '0') * (twice ? 2 : 1);
        sum += value > 9 ? value - 9 : value;
        twice = !twice;
    }
    return !digits.empty() && sum % 10 == 0;
}

}  // namespace scanner
