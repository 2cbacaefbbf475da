#pragma once

#include "examples/scanner/Options.h"

namespace scanner {

// The commands about scans that are remembered. Each works below a root of earlier scans, holds its lock, and returns
// the program's exit status; throws std::exception when it fails.

// `tasks`: the history.
[[nodiscard]] int RunTasks(Options const& options);
// `findings`: a task's sensitive files, each rebuilt from the answers that the task used.
[[nodiscard]] int RunFindings(Options const& options);
// `remove`: takes a task out of the history.
[[nodiscard]] int RunRemove(Options const& options);
// `prune`: deletes the template caches that nothing needs any more.
[[nodiscard]] int RunPrune(Options const& options);

}  // namespace scanner
