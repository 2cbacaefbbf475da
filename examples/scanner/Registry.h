#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "task/DLPCacheTaskMgr.h"

namespace scanner {

// The registry of tasks. Throws std::bad_alloc when there is none.
[[nodiscard]] DLPCacheTaskMgr& TaskRegistry();

// A remembered task. Throws std::runtime_error when there is none of that id, and when its record
// is damaged or names another.
[[nodiscard]] ScanTask& RequireTask(std::string const& id);

// Whether there is a directory of a task of that id whose record is damaged or missing: nothing else is known of it.
[[nodiscard]] bool HasLostItsRecord(HString const& id);

// The tasks that have a directory but no record that names them, in the order of their directories' names. The
// registry shows them as one task without an id.
[[nodiscard]] std::vector<HString> UnreadableTasks();

// How many template caches lie on disk: one directory per template and state of its definition.
[[nodiscard]] std::size_t CountTemplateCaches();

}  // namespace scanner
