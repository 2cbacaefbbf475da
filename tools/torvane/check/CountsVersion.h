#pragma once

#include <string>

namespace torvane {

// The policy version that a directory of found-times is of by now: the name of its marker, the last of several; empty
// without one. Throws Stop(kIo).
[[nodiscard]] std::string CountsVersion(std::string const& directory);

}  // namespace torvane
