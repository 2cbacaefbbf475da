#pragma once

#include <vector>

#include "host/policy/QVKKeywordText.h"
#include "tools/torvane/commands/Rows.h"

// What rows of several kinds are made of. No state.
namespace torvane {

// Whether the row is sound: its last two members.
void Finish(Row& row, Look const& look);
// The length of a sensitive text, and the text itself where it was asked for; null when it is not known.
void AddText(Json& json, char const* name, HString const& text, Detail const& detail, bool known = true);
// An extracted text and its positions.
void AddKeywordText(Json& json, QVKKeywordText const& text, Detail const& detail, bool known);
[[nodiscard]] Json ListOfTexts(std::vector<HString> const& texts);

}  // namespace torvane
