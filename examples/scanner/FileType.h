#pragma once

#include <string>
#include <string_view>

namespace scanner {

// The type of a file: what its first bytes say ("gzip", "png", "gif", "jpeg", "pdf", "zip", "elf", "script"), else the
// extension of its name in lower case (A to Z only), else "none".
[[nodiscard]] std::string FileType(std::string_view short_name, std::string_view content);

}  // namespace scanner
