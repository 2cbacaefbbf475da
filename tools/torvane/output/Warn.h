#pragma once

#include <string>

namespace torvane {

// A line for people on stderr, escaped; a progress that shows there goes first.
void Warn(std::string const& text);

}  // namespace torvane
