#include "tools/torvane/cli/Nearest.h"

#include <algorithm>

namespace torvane {

std::size_t DistanceOf(std::string_view one, std::string_view other) {
    std::vector<std::size_t> before_last(other.size() + 1);
    std::vector<std::size_t> last(other.size() + 1);
    std::vector<std::size_t> row(other.size() + 1);
    for (std::size_t j = 0; j <= other.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= one.size(); ++i) {
        before_last.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            std::size_t const replaced = last[j - 1] + (one[i - 1] == other[j - 1] ? 0U : 1U);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, replaced});
            bool const swapped = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
            if (swapped) row[j] = std::min(row[j], before_last[j - 2] + 1);
        }
    }
    return row[other.size()];
}

std::string NearestTo(std::string_view word, std::vector<std::string> const& words) {
    std::string nearest;
    std::size_t least = std::string::npos;
    for (auto const& candidate : words) {
        bool const begins = word.size() > 1 && candidate.starts_with(word);
        std::size_t const distance = begins ? 0 : DistanceOf(word, candidate);
        if (distance >= least) continue;
        least = distance;
        nearest = candidate;
    }
    return nearest;
}

std::string ListOf(std::vector<std::string> const& words) {
    std::string list;
    for (auto const& word : words)
        list += (list.empty() ? "" : ", ") + word;
    return list;
}

}  // namespace torvane
