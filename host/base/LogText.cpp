#include "host/base/LogText.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include "host/base/HString.h"
#include "host/base/Utf8Units.h"

namespace Varnok {
namespace {

void AppendHex(std::string& line, std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (char const byte : bytes) {
        auto const value = static_cast<unsigned char>(byte);
        line += "\\x";
        line += kDigits[value >> 4];
        line += kDigits[value & 15];
    }
}

bool IsControl(std::string_view character) noexcept {
    auto const first = static_cast<unsigned char>(character[0]);
    if (character.size() == 1) return first < 0x20 || first == 0x7F;
    return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

// Length of the run of ordinary ASCII characters at the front.
std::size_t OrdinaryRun(std::string_view text) noexcept {
    auto const is_odd = [](char c) {
        auto const byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte >= 0x7F;
    };
    return static_cast<std::size_t>(std::find_if(text.begin(), text.end(), is_odd) - text.begin());
}

void AppendControl(std::string& line, std::string_view control) {
    if (control == "\n") {
        line += "\\n";
    } else if (control == "\r") {
        line += "\\r";
    } else if (control == "\t") {
        line += "\\t";
    } else {
        AppendHex(line, control);
    }
}

// Appends the character, or the byte that is none, at the front of `text`; returns its length.
std::size_t AppendOdd(std::string& line, std::string_view text) {
    std::size_t const length = SequenceLength(text);
    std::string_view const character = text.substr(0, std::max<std::size_t>(length, 1));
    if (length == 0) {
        AppendHex(line, character);
    } else if (IsControl(character)) {
        AppendControl(line, character);
    } else {
        line += character;
    }
    return character.size();
}

}  // namespace

void AppendEscaped(std::string& line, std::string_view text) {
    while (!text.empty()) {
        std::size_t const run = OrdinaryRun(text);
        line += text.substr(0, run);
        text.remove_prefix(run);
        if (!text.empty()) text.remove_prefix(AppendOdd(line, text));
    }
}

void AppendPrefix(std::string& line, int level, wchar_t const* source, int source_line) {
    std::timespec now{};
    (void)::clock_gettime(CLOCK_REALTIME, &now);
    std::tm parts{};
    (void)::gmtime_r(&now.tv_sec, &parts);
    char text[128];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ %d ", parts.tm_year + 1900, parts.tm_mon + 1,
                  parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, static_cast<int>(now.tv_nsec / 1000000),
                  level);
    line += text;
    AppendEscaped(line, HString(source).get_str());
    std::snprintf(text, sizeof text, ":%d ", source_line);
    line += text;
}

}  // namespace Varnok
