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
    std::vector<WalkError> errors;   // directories that could not be read
};

// Lists the regular files at and below `paths`, by absolute paths without links: however a file is named, it is one. A
// path given by the caller may lead over symbolic links, links below are not followed; other kinds of files are left
// out. The directory `excluded` (the scanner's own root) is not entered. Throws std::runtime_error when a given path
// does not exist.
[[nodiscard]] WalkResult WalkFiles(std::vector<std::string> const& paths, std::string const& excluded);

}  // namespace scanner
