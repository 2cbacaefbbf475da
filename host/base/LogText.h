#pragma once

#include <string>
#include <string_view>

namespace Varnok {

// Appends `text` as it may stand in one line of a log: "\n", "\r" and "\t" as these two characters, every other control
// character (below U+0020, U+007F to U+009F) and every byte that is not UTF-8 as "\xNN" per byte.
void AppendEscaped(std::string& line, std::string_view text);

// Appends "2026-11-21T09:02:11.123Z 1 ../Source.cpp:58 ": the time now in UTC, the level, the source, the line.
void AppendPrefix(std::string& line, int level, wchar_t const* source, int source_line);

}  // namespace Varnok
