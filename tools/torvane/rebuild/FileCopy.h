#pragma once

#include <string>

namespace torvane {

// Makes the directory (mode 0700) with its parents. Throws Stop(kIo).
void MakeDirectory(std::string const& path);

// Copies a regular file as it is, with its time of modification, in mode 0600. False when there is none. Throws
// Stop(kIo), also when `to` exists.
bool CopyFile(std::string const& from, std::string const& to);

// Removes a directory with all that it holds, as far as that is possible.
void RemoveTree(std::string const& path) noexcept;

}  // namespace torvane
