#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "task/DLPCacheTaskMgr.h"

namespace scanner {

// The registry of tasks. Throws std::bad_alloc when there is none.
[[nodiscard]] DLPCacheTaskMgr& TaskRegistry();

// A remembered task. Throws std::runtime_error when there is none of that id, and when its record is missing, damaged
// or names another.
[[nodiscard]] ScanTask& RequireTask(std::string const& id);

// Whether there is a directory of a task of that id whose record is missing, damaged or no file: nothing else is known
// of it. To be asked once the registry is there, which removes directories that hold nothing.
[[nodiscard]] bool HasLostItsRecord(HString const& id);

// The task's directory, with a separator at its end.
[[nodiscard]] std::string DirectoryOf(HString const& task_id);

// The first directory that holds a record of the task; it may have another name. Empty: none does.
[[nodiscard]] std::string DirectoryOfRecord(HString const& task_id);

// The tasks that have a directory but no record that names them, in the order of their directories' names. The
// registry shows them as one task without an id.
[[nodiscard]] std::vector<HString> UnreadableTasks();

// How many template caches lie on disk: one directory per template and state of its definition. Those in a directory
// that cannot be listed are not counted.
[[nodiscard]] std::size_t CountTemplateCaches();

}  // namespace scanner
