#pragma once

#include "tools/torvane/output/Output.h"

namespace torvane {

// Entries as `show` prints them for people: a line for every member, lists of objects as blocks below their names.
void PrintEntries(Json const& entries, Output& out);

}  // namespace torvane
