#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"

// An ini file of sections with "key=value" lines: UTF-8, LF or CRLF, blank lines, comments (";" or "#" first). Names are
// case-sensitive and trimmed; of a key given twice the first counts. Read whole by setFile, changed in memory, replaced whole
// by write_all. One object, one thread; nothing throws.
class TORVANE_API HIniFileHelper {
public:
    // Reads the file. 0: read; ENOENT: missing (empty content, it can be written); any other errno: could not be read (the
    // content is empty and write_all refuses). Files above 1 MiB are refused with EFBIG.
    int setFile(HString const& path) noexcept;
    // 0 and the value when the key is there and holds a whole decimal number of 32 bits; -1 otherwise (`value` unchanged).
    [[nodiscard]] int read_int(HString const& section, HString const& key, int& value) const noexcept;
    // Sets the key in memory, making the section when needed. 0, or -1 without memory.
    int write_int(HString const& section, HString const& key, int value) noexcept;
    // Replaces the file in one step; keys, comments and order of what was read stay. 0 or errno.
    [[nodiscard]] int write_all() noexcept;
    // Every "key=value" of a section in file order.
    [[nodiscard]] std::vector<std::pair<std::string, std::string>> read_section(HString const& section) const;

private:
    HString path_;
    std::vector<std::string> lines_;
    int state_ = 0;  // what setFile returned
};
