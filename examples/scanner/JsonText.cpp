#include "examples/scanner/JsonText.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace scanner {
namespace {

using nlohmann::ordered_json;

bool IsUtf8(std::string const& text) {
    bool const ascii =
        std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (ascii) return true;
    try {
        return !ordered_json(text).dump().empty();
    } catch (ordered_json::exception const&) {
        return false;
    }
}

std::string Hex(std::string const& bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (char const c : bytes) {
        hex += kDigits[static_cast<unsigned char>(c) >> 4];
        hex += kDigits[static_cast<unsigned char>(c) & 15];
    }
    return hex;
}

}  // namespace

void PutPath(std::string const& path, ordered_json& object) {
    object["path"] = path;
    if (!IsUtf8(path)) object["path_hex"] = Hex(path);
}

std::string JsonText(ordered_json const& document, std::size_t indent) {
    std::string const dumped = document.dump(2, ' ', false, ordered_json::error_handler_t::replace);
    std::string text;
    for (std::size_t i = 0; i < dumped.size(); ++i) {
        bool const is_two_bytes = dumped[i] == '\xC2' && i + 1 < dumped.size() && dumped[i + 1] < '\xA0';
        if (is_two_bytes) ++i;
        if (is_two_bytes || dumped[i] == '\x7F')
            text += "\\u00" + Hex(dumped.substr(i, 1));
        else
            text += dumped[i];
        if (dumped[i] == '\n') text.append(indent, ' ');
    }
    return text;
}

void WriteJson(ordered_json const& document, std::ostream& out) {
    out << JsonText(document) << '\n';
}

}  // namespace scanner
