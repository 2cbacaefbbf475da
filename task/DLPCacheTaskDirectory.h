#pragma once

#include "host/base/HString.h"

// Where a task's files lie: <task path>/<task id as a file name>/. No symbolic link is ever followed there.
namespace DLPCache {

// Whether the directory may be made or written to: it and the task path are directories themselves or missing. False
// for an empty id, which is that of a task without a readable record. Throws std::bad_alloc only.
[[nodiscard]] bool IsTaskDirectoryFree(HString const& task_id);

// Whether something that is no directory, a symbolic link for instance, stands for certain where the task's directory
// or the task path belongs: then the task has no files. Throws std::bad_alloc only.
[[nodiscard]] bool IsTaskDirectoryTaken(HString const& task_id);

// Deletes a task's directory with all that it holds, its record last, so that a task whose removal was interrupted is
// still remembered and can be removed. Nothing happens when it is no directory itself or does not lie in the cache
// root under the task's name. 0, else the errno of what could not be deleted. Throws std::bad_alloc only.
int DeleteTaskDirectory(HString const& task_id);

}  // namespace DLPCache
