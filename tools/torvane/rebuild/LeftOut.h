#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace torvane {

// What a new root does not have, and why.
struct LeftOut {
    std::string file;                   // below the source's root
    std::optional<std::uint64_t> slot;  // of an index, from 1
    std::string what;
};

// What was carried over from one place, and what was not.
struct Carried {
    std::uint64_t records = 0;       // entries with a record
    std::uint64_t empty = 0;         // entries without one
    std::uint64_t files = 0;         // files copied as they are
    std::uint64_t record_bytes = 0;  // of the records
    std::vector<LeftOut> left_out;
};

}  // namespace torvane
