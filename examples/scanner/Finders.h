#pragma once

#include <re2/re2.h>
#include <cstddef>
#include <string_view>
#include <vector>

namespace scanner {

// A run of matched bytes of a text, [begin, end).
struct Match {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// The matches of one rule: all are counted, the first kMostKept are kept with their places.
class Matches {
  public:
    static constexpr std::size_t kMostKept = 64;

    void Add(std::size_t begin, std::size_t end) {
        ++count_;
        if (kept_.size() < kMostKept) kept_.push_back({begin, end});
    }
    [[nodiscard]] long long count() const { return count_; }
    [[nodiscard]] std::vector<Match> const& kept() const { return kept_; }

  private:
    long long count_ = 0;
    std::vector<Match> kept_;
};

// Each finder adds the matches in `text`, from left to right and not overlapping. Any thread.

// Matches of an expression; empty ones do not count.
void FindExpression(re2::RE2 const& expression, std::string_view text, Matches& matches);

// E-mail addresses: a local part of letters, digits and ._%+- and a domain of two or more labels, the last of letters.
void FindEmails(std::string_view text, Matches& matches);

// Bank card numbers: 13 to 19 digits, in one run or in groups with one blank or hyphen between them, that begin with 2
// to 6, are not all the same and pass the Luhn check. A longer run of digits holds none.
void FindBankCards(std::string_view text, Matches& matches);

// The Luhn check (ISO/IEC 7812-1, annex B) over decimal digits.
[[nodiscard]] bool PassesLuhn(std::string_view digits);

}  // namespace scanner
