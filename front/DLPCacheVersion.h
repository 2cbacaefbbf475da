#pragma once

#include "host/base/Export.h"

// Checks the version stamp of the cache root ("Version.ini"): wipes the root when the stamp is missing or names another
// cache layout, then writes the current stamp. A stamp that differs in anything else is rewritten and nothing is wiped.
// A stamp that cannot be read (other than for being missing) changes nothing. A process wipes a root at most once:
// after that it only writes the stamp anew. Every manager that keeps files calls this when it is made; for the
// library's own use, not exported.
//
// Any thread may call: checks exclude each other. Never throws; failures are logged.
void CheckModuleVersion() noexcept;

// Prints the module's version line on the standard error stream. Returns what the formatted write returns: the number
// of characters, or a negative value. Any thread.
TORVANE_API int PrintMoudleVersion() noexcept;
