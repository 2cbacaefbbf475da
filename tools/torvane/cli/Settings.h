#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/torvane/output/Output.h"

namespace torvane {

enum class Color { kAuto, kAlways, kNever };

// One setting as `torvane config` lists it.
struct Setting {
    std::string name;  // of the option, without dashes
    std::string value;
    std::string source;  // "option", "environment NAME", "file PATH" or "default"
};

// What holds for every command: options before environment before file before default.
struct Settings {
    std::string root;
    Format format = Format::kTable;
    Color color = Color::kAuto;
    bool quiet = false;      // nothing but the answer
    bool progress = true;    // on stderr, on a terminal, for what takes longer than a second
    bool show_text = false;  // match texts and extracted texts, else only their lengths
    std::vector<Setting> all;
};

// What settings are made of.
struct SettingSources {
    std::map<std::string, std::string> options;      // those that were given, by name: "root", "format", ...
    std::map<std::string, std::string> environment;  // an empty variable is none
    std::string system_file = "/etc/torvane/torvane.conf";
    std::string default_root;
};

// The variables of the environment that settings come from, as they are in this process.
[[nodiscard]] std::map<std::string, std::string> SettingVariables();

// The settings of these sources, each from the first that has it: option, environment, file, default. The file is the
// one that --config or TORVANE_CONFIG names; else the user's (torvane/torvane.conf in $XDG_CONFIG_HOME or ~/.config)
// before the system's. Colours: TORVANE_COLOR before NO_COLOR, which means "never". Whether texts are shown can only be
// an option. Throws Stop: kUsage for a value or a name that is none, kIo when a file cannot be read.
[[nodiscard]] Settings LoadSettings(SettingSources const& sources);

// The values that a setting may have; none when it may have any.
[[nodiscard]] std::vector<std::string> ChoicesOf(std::string const& setting);

}  // namespace torvane
