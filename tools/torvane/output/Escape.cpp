#include "tools/torvane/output/Escape.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "host/base/Utf8Units.h"

namespace torvane {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

// Controls, soft hyphen, the marks that turn or hide text, line and paragraph separators, byte order mark, surrogates,
// tags. Sorted.
constexpr Range kNotPrinting[] = {
    {0x0000, 0x001F},   {0x007F, 0x009F},   {0x00AD, 0x00AD},   {0x034F, 0x034F}, {0x061C, 0x061C}, {0x115F, 0x1160},
    {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x200B, 0x200F},   {0x2028, 0x202E}, {0x2060, 0x206F}, {0x3164, 0x3164},
    {0xD800, 0xDFFF},   {0xFDD0, 0xFDEF},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0xFFFE, 0xFFFF},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

// Combining marks and variation selectors. Sorted.
constexpr Range kCombining[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x064B, 0x065F}, {0x0E31, 0x0E31},
    {0x0E34, 0x0E3A}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0x302A, 0x302D},
    {0x3099, 0x309A}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F},
};

// East Asian wide and full width characters, and emoji. Sorted.
constexpr Range kWide[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},   {0x4E00, 0xA4CF},
    {0xA960, 0xA97F},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6},   {0x16FE0, 0x18CFF}, {0x1B000, 0x1B2FF}, {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF},
    {0x1F900, 0x1FAFF}, {0x20000, 0x3FFFD},
};

template <std::size_t kCount>
bool IsIn(Range const (&ranges)[kCount], char32_t code) {
    auto const after = std::upper_bound(std::begin(ranges), std::end(ranges), code,
                                        [](char32_t value, Range const& range) { return value < range.first; });
    return after != std::begin(ranges) && code <= std::prev(after)->last;
}

char32_t CodeOf(std::string_view sequence) {
    auto const byte = [&](std::size_t at) { return static_cast<char32_t>(static_cast<unsigned char>(sequence[at])); };
    if (sequence.size() == 1) return byte(0);
    char32_t code = byte(0) & (0x7FU >> sequence.size());
    for (std::size_t at = 1; at < sequence.size(); ++at)
        code = code << 6 | (byte(at) & 0x3FU);
    return code;
}

// Calls `sink(Character, bytes)` for each character of the text.
template <class Sink>
void ForEachCharacter(std::string_view text, Sink&& sink) {
    while (!text.empty()) {
        Character const character = FirstCharacter(text);
        sink(character, text.substr(0, character.length));
        text.remove_prefix(character.length);
    }
}

bool IsPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return byte >= 0x20 && byte < 0x7F; });
}

bool IsDigit(char c, char first) {
    return (c >= first && c <= '9') || (c >= 'A' && c <= 'F');
}

// Whether `text` begins with what stands behind the backslash of an escaped byte in JSON.
bool LooksEscaped(std::string_view text) {
    return text.size() >= 3 && text[0] == 'x' && IsDigit(text[1], '8') && IsDigit(text[2], '0');
}

std::string Escaped(char32_t code) {
    if (code == '\n') return "\\n";
    if (code == '\r') return "\\r";
    if (code == '\t') return "\\t";
    auto const value = static_cast<unsigned>(code);
    return code < 0x80 ? fmt::format("\\x{:02X}", value) : fmt::format("\\u{{{:X}}}", value);
}

std::string EscapedByte(char32_t byte) {
    return fmt::format("\\x{:02X}", static_cast<unsigned>(byte));
}

std::string JsonEscaped(char32_t code) {
    auto const value = static_cast<unsigned>(code);
    if (value < 0x10000) return fmt::format("\\u{:04x}", value);
    return fmt::format("\\u{:04x}\\u{:04x}", 0xD800 + ((value - 0x10000) >> 10), 0xDC00 + (value & 0x3FF));
}

// The document with every text, names of members too, made UTF-8.
nlohmann::ordered_json Clean(nlohmann::ordered_json const& document) {
    if (document.is_string()) return Utf8(document.get_ref<std::string const&>());
    if (!document.is_structured()) return document;
    nlohmann::ordered_json clean =
        document.is_array() ? nlohmann::ordered_json::array() : nlohmann::ordered_json::object();
    for (auto const& item : document.items()) {
        if (document.is_array()) {
            clean.push_back(Clean(item.value()));
        } else {
            clean[Utf8(item.key())] = Clean(item.value());
        }
    }
    return clean;
}

std::string Dumped(nlohmann::ordered_json const& document, int indent) {
    try {
        std::string dumped = document.dump(indent);
        if (dumped.find(R"(\\x)") == std::string::npos) return dumped;
    } catch (nlohmann::ordered_json::type_error const&) {  // a text that is not UTF-8
    }
    // Both are rare.
    return Clean(document).dump(indent, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

Character FirstCharacter(std::string_view text) {
    std::size_t const length = Varnok::SequenceLength(text);
    if (length == 0) return {1, static_cast<unsigned char>(text[0]), false};
    return {length, CodeOf(text.substr(0, length)), true};
}

bool Prints(char32_t code) {
    return !IsIn(kNotPrinting, code) && (code & 0xFFFE) != 0xFFFE && code <= 0x10FFFF;
}

std::string Printable(std::string_view text, Backslash backslash) {
    bool const doubled = backslash == Backslash::kDoubled;
    if (IsPlain(text) && (!doubled || text.find('\\') == std::string_view::npos)) return std::string(text);
    std::string printable;
    ForEachCharacter(text, [&](Character const& character, std::string_view bytes) {
        if (!character.valid) {
            printable += EscapedByte(character.code);
        } else if (character.code == '\\' && doubled) {
            printable += "\\\\";
        } else if (Prints(character.code)) {
            printable += bytes;
        } else {
            printable += Escaped(character.code);
        }
    });
    return printable;
}

std::size_t WidthOf(std::string_view printable) {
    if (IsPlain(printable)) return printable.size();
    std::size_t width = 0;
    ForEachCharacter(printable, [&](Character const& character, std::string_view) {
        if (!IsIn(kCombining, character.code)) width += IsIn(kWide, character.code) ? 2U : 1U;
    });
    return width;
}

std::string Utf8(std::string_view text) {
    std::string clean;
    std::size_t backslashes = 0;  // that `clean` ends with
    std::size_t at = 0;
    ForEachCharacter(text, [&](Character const& character, std::string_view bytes) {
        bool const looks_escaped = !character.valid || LooksEscaped(text.substr(at));
        if (looks_escaped) clean.append(backslashes, '\\');
        clean += character.valid ? std::string(bytes) : EscapedByte(character.code);
        backslashes = bytes == "\\" ? backslashes + 1 : 0;
        at += bytes.size();
    });
    return clean;
}

std::string JsonText(nlohmann::ordered_json const& document, int indent) {
    std::string const dumped = Dumped(document, indent);
    std::string json;
    json.reserve(dumped.size());
    // Outside of its strings a document is ASCII, so what does not print here stands in a string; line ends are its
    // own.
    ForEachCharacter(dumped, [&](Character const& character, std::string_view bytes) {
        bool const prints = character.code == '\n' || Prints(character.code);
        if (prints) {
            json += bytes;
        } else {
            json += JsonEscaped(character.code);
        }
    });
    return json;
}

std::string CsvField(std::string_view text) {
    std::string const printable = Printable(text);
    bool const bare =
        printable.find_first_of(",\"") == std::string::npos && !printable.starts_with(' ') && !printable.ends_with(' ');
    if (bare) return printable;
    std::string quoted = "\"";
    for (char const c : printable) {
        if (c == '"') quoted += '"';
        quoted += c;
    }
    return quoted + '"';
}

}  // namespace torvane
