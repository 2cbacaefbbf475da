#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"

// An ini file of sections with "key=value" lines: UTF-8 (a byte order mark is skipped), LF or CRLF, blank lines,
// comments (";" or "#" first). Names are case-sensitive and trimmed; a section may be given in several pieces; of a key
// given twice the first counts; lines of any other form are kept and mean nothing. Read whole by setFile, changed in
// memory, replaced whole by write_all. One object, one thread; nothing throws.
class TORVANE_API HIniFileHelper {
  public:
    // Reads the file. 0: read; ENOENT: missing (empty content, it can be written); any other errno: could not be read
    // (the content is empty and write_all refuses). Files above 1 MiB are refused with EFBIG.
    int setFile(HString const& path) noexcept;
    // 0 and the value when the key is there and holds a whole decimal number of 32 bits; -1 otherwise (`value`
    // unchanged).
    [[nodiscard]] int read_int(HString const& section, HString const& key, int& value) const noexcept;
    // Sets the key in memory, making the section when needed. 0; -1 without memory or when a name cannot stand in a
    // line (empty, control characters, "=" in a key, blanks at an end, what would read as a comment or a section).
    int write_int(HString const& section, HString const& key, int value) noexcept;
    // Replaces the file in one step; keys, comments, line ends and order of what was read stay. 0 or errno.
    [[nodiscard]] int write_all() noexcept;
    using Entries = std::vector<std::pair<std::string, std::string>>;
    // Appends every "key=value" of a section in file order, values trimmed. False without memory.
    [[nodiscard]] bool read_section(HString const& section, Entries& entries) const noexcept;

  private:
    HString path_;
    std::vector<std::string> lines_;  // without their "\n"
    int state_ = -1;                  // what setFile returned; -1 before
};
