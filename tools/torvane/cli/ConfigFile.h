#pragma once

#include <string>
#include <vector>

namespace torvane {

// A line "name = value" of a settings file. Blank lines and lines that begin with '#' or ';' say nothing; a value may
// stand in double quotes, which keep blanks at its ends; a later line for the same name counts.
struct ConfigEntry {
    std::string name;
    std::string value;
    int line = 0;  // from 1
};

// Throws Stop: kUsage for a line of another form, kIo when the file cannot be read or is larger than 1 MiB. A missing
// file has no entries, unless it `must_exist` (kIo).
[[nodiscard]] std::vector<ConfigEntry> ReadConfigFile(std::string const& path, bool must_exist);

}  // namespace torvane
