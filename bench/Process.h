#pragma once

#include <string>
#include <vector>

namespace bench {

// Runs a program (an absolute path and its arguments) with its standard output going to the file `output` and waits for
// it. Its exit status; ends this program when it could not be run.
[[nodiscard]] int RunProcess(std::vector<std::string> const& command, std::string const& output);

}  // namespace bench
