#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

// Text that may hold anything, made fit for a terminal, a table or a document. Nothing here has state; any thread.
namespace torvane {

// The character that `text`, which is not empty, begins with.
struct Character {
    std::size_t length = 1;  // in bytes
    char32_t code = 0;
    bool valid = false;  // false: one byte that is not UTF-8; `code` is that byte
};
[[nodiscard]] Character FirstCharacter(std::string_view text);

// Whether a character shows as itself: no control, nothing invisible, nothing that turns the direction of what follows,
// no line end, no surrogate or noncharacter.
[[nodiscard]] bool Prints(char32_t code);

enum class Backslash { kDoubled, kKept };

// For people: "\n", "\r" and "\t" as these two characters, other characters that do not print as "\x1B" below U+0080
// and as "\u{202E}" from there on, bytes that are not UTF-8 as "\xFF". A backslash of the text is doubled, so that no
// two texts look the same; kept only in what has its own escapes already, a line of the log.
[[nodiscard]] std::string Printable(std::string_view text, Backslash backslash = Backslash::kDoubled);

// The columns that printable text takes on a terminal: 2 for a wide character, 0 for a combining one.
[[nodiscard]] std::size_t WidthOf(std::string_view printable);

// For JSON, whose own escapes keep every character: bytes that are not UTF-8 as "\xFF" (80 to FF), the rest as it is.
// Only where a text itself holds what looks like such an escape the backslashes before it are doubled: before
// "x" and two such digits an odd number of backslashes ends in an escape, an even one is half as many backslashes.
[[nodiscard]] std::string Utf8(std::string_view text);

// The document as JSON text; `indent` -1: on one line. Strings of any bytes; characters that do not print as \uXXXX.
[[nodiscard]] std::string JsonText(nlohmann::ordered_json const& document, int indent);

// A CSV field with what it shows made printable, in quotes where it must be.
[[nodiscard]] std::string CsvField(std::string_view text);

}  // namespace torvane
