#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <limits>
#include <string>

namespace torvane {

// Options that take certain values only; others are wrong usage. A value is set when the command line is taken apart
// and must live as long as `command`.

// Options whose value is a number in decimal digits and nothing else: CLI11 itself takes "-1" modulo 2^64 and "010" for
// 8. From `least` to `most`.
inline constexpr std::uint64_t kMostCount = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
CLI::Option* AddCount(CLI::App& command, std::string const& names, std::uint64_t& value, char const* description,
                      std::uint64_t least = 0, std::uint64_t most = kMostCount);
// The same of seconds, which may have digits behind a point.
CLI::Option* AddSeconds(CLI::App& command, std::string const& names, double& value, char const* description,
                        double least, double most);
// The option --md5, whose value is 32 hexadecimal digits: a file's content, which is not read then.
CLI::Option* AddMd5(CLI::App& command, std::string& value);
// An option or argument whose value is not empty: "" would otherwise stand for none.
CLI::Option* AddFilled(CLI::App& command, std::string const& names, std::string& value, char const* description);

}  // namespace torvane
