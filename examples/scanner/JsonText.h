#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

namespace scanner {

// Sets the member "path". A name that is not UTF-8 has replacement characters there, and its bytes as hexadecimal
// digits in "path_hex".
void PutPath(std::string const& path, nlohmann::ordered_json& object);

// Writes a document, indented, with replacement characters for what is not UTF-8.
void WriteJson(nlohmann::ordered_json const& document, std::ostream& out);

}  // namespace scanner
