#pragma once

#include "host/base/Export.h"

// Checks the version stamp of the cache root ("Version.ini"): wipes the root when it is missing or names another cache
// layout, then writes the current stamp. A stamp that cannot be read (other than for being missing) changes nothing, and a
// process wipes a root at most once. Checks exclude each other. Every manager that keeps files calls it when it is made.
void CheckModuleVersion() noexcept;

// Prints the module's version line on the standard error stream. Returns what the formatted write returns: the number of
// characters, or a negative value.
TORVANE_API int PrintMoudleVersion() noexcept;
