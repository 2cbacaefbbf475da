#pragma once

#include <string>

namespace torvane {

// Whether a file may be an archive, as its head and its length tell: asked before it is read whole, since a damaged one
// may be of any size. True also of a file that is not there or cannot be read, which reading it will tell. Throws
// Stop(kIo).
[[nodiscard]] bool MayBeArchive(std::string const& path);

}  // namespace torvane
