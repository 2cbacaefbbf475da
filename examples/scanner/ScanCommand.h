#pragma once

#include "examples/scanner/Options.h"

namespace scanner {

// The `scan` command. Returns the program's exit status; throws std::exception when the run fails as a whole.
[[nodiscard]] int RunScan(Options const& options);

}  // namespace scanner
