#pragma once

#include <chrono>

#include "examples/scanner/Options.h"

namespace scanner {

// The `scan` command. Returns the program's exit status; throws std::exception when the run fails as a whole, or when
// its findings did not reach the disk in the time `wait` after the last file (then the summary was printed).
//
// Whatever can refuse the scan is asked first: the templates, the paths, the root's lock, the policy, the task. A scan
// that is refused leaves definitions, policies and tasks as they were. An error of reading or writing is no refusal: a
// full disk for instance ends the scan wherever it is.
[[nodiscard]] int RunScan(Options const& options, std::chrono::milliseconds wait = std::chrono::seconds(60));

}  // namespace scanner
