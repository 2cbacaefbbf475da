#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

namespace scanner {

// Sets the member "path". A name that is not UTF-8 has replacement characters there, and its bytes as hexadecimal
// digits in "path_hex".
void PutPath(std::string const& path, nlohmann::ordered_json& object);

// The text of a document, indented by `indent` more than its place asks for from the second line on, with replacement
// characters for what is not UTF-8 and every control character escaped, also those that JSON lets stand.
[[nodiscard]] std::string JsonText(nlohmann::ordered_json const& document, std::size_t indent = 0);
// Writes that and a line's end.
void WriteJson(nlohmann::ordered_json const& document, std::ostream& out);

}  // namespace scanner
