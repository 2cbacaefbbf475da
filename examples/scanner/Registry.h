#pragma once

#include <cstddef>
#include <string>

#include "task/DLPCacheTaskMgr.h"

namespace scanner {

// The registry of tasks. Throws std::bad_alloc when there is none.
[[nodiscard]] DLPCacheTaskMgr& TaskRegistry();

// A remembered task. Throws std::runtime_error when there is none of that id, and when its record
// is damaged or names another.
[[nodiscard]] ScanTask& RequireTask(std::string const& id);

// How many template caches lie on disk: one directory per template and state of its definition.
[[nodiscard]] std::size_t CountTemplateCaches();

}  // namespace scanner
