#include "tools/torvane/log/LogLine.h"

#include <charconv>

namespace torvane {
namespace {

constexpr std::string_view kTimeForm = "0000-00-00T00:00:00.000Z";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsTime(std::string_view text) {
    if (text.size() != kTimeForm.size()) return false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        bool const fits = IsDigit(kTimeForm[at]) ? IsDigit(text[at]) : text[at] == kTimeForm[at];
        if (!fits) return false;
    }
    return true;
}

// Takes the word at the front, and the blank behind it, off `rest`.
std::string_view TakeWord(std::string_view& rest) {
    std::size_t const end = rest.find(' ');
    std::string_view const word = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return word;
}

}  // namespace

char const* NameOf(LogLevel level) {
    switch (level) {
        case LogLevel::kError:
            return "error";
        case LogLevel::kWarning:
            return "warning";
        case LogLevel::kInformation:
            break;
    }
    return "information";
}

std::optional<LogLine> ParseLogLine(std::string_view line) {
    LogLine parts;
    parts.time = TakeWord(line);
    std::string_view const level = TakeWord(line);
    std::string_view const place = TakeWord(line);
    if (!IsTime(parts.time) || level.size() != 1 || level[0] < '1' || level[0] > '3') return std::nullopt;
    parts.level = static_cast<LogLevel>(level[0] - '0');
    std::size_t const colon = place.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    parts.source = place.substr(0, colon);
    std::string_view const number = place.substr(colon + 1);
    auto const end = number.data() + number.size();
    auto const [read_to, error] = std::from_chars(number.data(), end, parts.line);
    if (error != std::errc() || read_to != end) return std::nullopt;
    parts.text = line;
    return parts;
}

}  // namespace torvane
