#pragma once

#include <string>
#include <vector>

namespace scanner {

// A file or directory that could not be looked at, and why (errno).
struct WalkError {
    std::string path;
    int error = 0;
};

struct WalkResult {
    std::vector<std::string> files;  // regular files, in byte order of their paths, each once
    std::vector<WalkError> errors;   // what could not be read: directories, starts that are none
};

// The absolute paths without links of what a caller names, each once, in byte order: however a file is named, it is
// one. Throws std::runtime_error when a path does not exist or cannot be looked at.
[[nodiscard]] std::vector<std::string> ResolvePaths(std::vector<std::string> const& paths);

// Lists the regular files at and below `starts` (as ResolvePaths gives them). Links below are not followed; other kinds
// of files are left out, but a start of another kind is an error (ELOOP for a link, else EOPNOTSUPP). The directory
// `excluded` (the scanner's own root) is not entered; it, or what lies in it, is an error as a start (EPERM).
[[nodiscard]] WalkResult WalkFiles(std::vector<std::string> const& starts, std::string const& excluded);

}  // namespace scanner
