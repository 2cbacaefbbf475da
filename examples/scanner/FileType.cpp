#include "examples/scanner/FileType.h"

#include <algorithm>
#include <array>

namespace scanner {
namespace {

using namespace std::string_view_literals;

struct Magic {
    std::string_view bytes;
    char const* type;
};

constexpr std::array kMagics{
    Magic{"\x1f\x8b"sv, "gzip"},
    Magic{"\x89PNG\r\n"sv, "png"},
    Magic{"GIF8"sv, "gif"},
    Magic{"\xff\xd8\xff"sv, "jpeg"},
    Magic{"%PDF-"sv, "pdf"},
    Magic{"PK\x03\x04"sv, "zip"},
    Magic{"\x7f"
          "ELF"sv,
          "elf"},
    Magic{"#!"sv, "script"},
};

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

std::string FileType(std::string_view short_name, std::string_view content) {
    for (Magic const& magic : kMagics) {
        if (content.starts_with(magic.bytes)) return magic.type;
    }
    std::size_t const dot = short_name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == short_name.size()) return "none";
    std::string extension(short_name.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(), Lower);
    return extension;
}

}  // namespace scanner
