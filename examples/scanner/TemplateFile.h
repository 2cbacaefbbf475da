#pragma once

#include <stdexcept>
#include <string>

#include "host/policy/KwDefinitions.h"

namespace scanner {

// What is wrong with a templates file, and where in it.
struct TemplateFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Rule kinds: the sub-types of a rule record that this scanner knows.
enum SubType : int {
    kKeyword = 1001,
    kRegex = 1002,
    kEmail = 1006,
    kBankCard = 1008,
    kFileName = 2001,
    kFileType = 2002,
    kFileSize = 2006
};
// Rule types of a rule record.
enum RuleType : int { kContent = 1, kFileAttribute = 2 };

// Reads definitions from JSON (examples/scanner/README.md describes the form). Throws TemplateFileError, its message
// beginning with `source`, for anything that is not as it must be: syntax, unknown or missing members, wrong types, ids
// that occur twice or lead nowhere. What rules look for is checked when they are compiled (Rule).
[[nodiscard]] KwDefinitions ParseTemplates(std::string const& json, std::string const& source);

// Reads the file at `path`, or the built-in templates when it is empty.
[[nodiscard]] KwDefinitions LoadTemplates(std::string const& path);

// The built-in templates as JSON (examples/scanner/templates.json).
[[nodiscard]] std::string BuiltInTemplates();

}  // namespace scanner
