#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvane {

// How many letters must be put in, taken out, replaced or swapped with their neighbour to make one word of the other
// (optimal string alignment distance).
[[nodiscard]] std::size_t DistanceOf(std::string_view one, std::string_view other);

// The one of `words` that was most likely meant by `word`: one that it is the beginning of, else the least distant, the
// first of equals. Empty when there are none.
[[nodiscard]] std::string NearestTo(std::string_view word, std::vector<std::string> const& words);

// "a, b, c".
[[nodiscard]] std::string ListOf(std::vector<std::string> const& words);

}  // namespace torvane
