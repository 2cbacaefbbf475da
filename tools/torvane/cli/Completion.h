#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace torvane {

// A bash script that completes the commands of `app`, their options and their arguments: choices where an option's or
// argument's type is written "{one,other}", names of files for FILE and PATH, of directories for DIR.
[[nodiscard]] std::string BashCompletion(CLI::App const& app);

}  // namespace torvane
