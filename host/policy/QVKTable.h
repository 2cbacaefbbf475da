#pragma once

#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"

// A table of records of one kind and its record file. A value; one object, one thread; the file operations never throw.
// The kinds that there are, each in a header of its own, are made by the library.
template <class Node>
class TORVANE_API QVKTable {
  public:
    std::vector<Node> nodes;

    // Replaces the record file in one step: on failure an older one is as it was. 0 on success, else errno (EFBIG: the
    // archive would be larger than 256 MiB).
    [[nodiscard]] int to_file(HString const& path) const noexcept;

    // Reads the record file into the table. 0 on success; ENOENT: missing; EBADMSG: damaged or foreign; any other
    // errno: could not be read (it may be sound all the same). On failure the table is empty.
    [[nodiscard]] int from_file(HString const& path) noexcept;
};
