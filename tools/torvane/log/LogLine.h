#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace torvane {

enum class LogLevel { kError = 1, kWarning = 2, kInformation = 3 };
[[nodiscard]] char const* NameOf(LogLevel level);  // "error", "warning", "information"

// A line of the module log in its parts.
struct LogLine {
    std::string_view time;  // "2026-01-31T12:00:00.000Z"
    LogLevel level{};
    std::string_view source;
    long long line = 0;
    std::string_view text;
};

// Nothing for a line of another form. The parts point into `line`.
[[nodiscard]] std::optional<LogLine> ParseLogLine(std::string_view line);

}  // namespace torvane
