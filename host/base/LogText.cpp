#include "host/base/LogText.h"

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

void AppendCharacter(std::string& line, std::string_view character) {
    if (character == "\n") {
        line += "\\n";
    } else if (character == "\r") {
        line += "\\r";
    } else if (character == "\t") {
        line += "\\t";
    } else if (IsControl(character)) {
        AppendHex(line, character);
    } else {
        line += character;
    }
}

}  // namespace

void AppendEscaped(std::string& line, std::string_view text) {
    while (!text.empty()) {
        std::size_t const length = SequenceLength(text);
        if (length == 0) {
            AppendHex(line, text.substr(0, 1));
        } else {
            AppendCharacter(line, text.substr(0, length));
        }
        text.remove_prefix(length == 0 ? 1 : length);
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
