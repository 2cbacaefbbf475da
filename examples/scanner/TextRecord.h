#pragma once

#include <string_view>
#include <vector>

#include "examples/scanner/Finders.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordText.h"

namespace scanner {

// What is kept of a text, so that an answer stays small: its first matched lines, of each the beginning.
inline constexpr std::size_t kMostLines = 8;
inline constexpr std::size_t kMostLineBytes = 160;
inline constexpr std::size_t kMostPositions = 16;  // per line

// The record of a template's matches in `text`: for each kept line its number (from 1) and the matched positions,
// counted in units of HString from the line's beginning, the end not included; as inline text the lines themselves. A
// match that runs over a line's end counts to that end. `matches` may be in any order and overlap.
[[nodiscard]] QVKKeywordText MakeTextRecord(HString const& tpl_id, std::string_view text, std::vector<Match> matches);

}  // namespace scanner
