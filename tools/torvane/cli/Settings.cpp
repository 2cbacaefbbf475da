#include "tools/torvane/cli/Settings.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cli/ConfigFile.h"
#include "tools/torvane/cli/Nearest.h"

namespace torvane {
namespace {

struct Known {
    char const* name;
    char const* variable;  // null: only an option
};

constexpr Known kKnown[] = {
    {"config", "TORVANE_CONFIG"}, {"root", "TORVANE_ROOT"},   {"format", "TORVANE_FORMAT"},
    {"color", "TORVANE_COLOR"},   {"quiet", "TORVANE_QUIET"}, {"progress", "TORVANE_PROGRESS"},
    {"show-text", nullptr},
};
constexpr char kNoColor[] = "NO_COLOR";
constexpr char kTrue[] = "yes";
constexpr char kFalse[] = "no";

// A value and where it was found; `place` is what a message about it begins with.
struct Found {
    std::string value;
    std::string source;
    std::string place;
};

[[noreturn]] void Refuse(std::string const& message) {
    throw Stop(ExitStatus::kUsage, message);
}

std::optional<std::string> Lookup(std::map<std::string, std::string> const& values, char const* name) {
    auto const found = name == nullptr ? values.end() : values.find(name);
    if (found == values.end()) return std::nullopt;
    return found->second;
}

std::optional<std::string> Variable(SettingSources const& sources, char const* name) {
    auto value = Lookup(sources.environment, name);
    if (value && value->empty()) return std::nullopt;
    return value;
}

// The user's own file; nothing when there is no home.
std::optional<std::string> UserFile(SettingSources const& sources) {
    auto const config = Variable(sources, "XDG_CONFIG_HOME");
    if (config && config->front() == '/') return *config + "/torvane/torvane.conf";
    auto const home = Variable(sources, "HOME");
    if (home && home->front() == '/') return *home + "/.config/torvane/torvane.conf";
    return std::nullopt;
}

class Loader {
  public:
    explicit Loader(SettingSources const& sources) : sources_(sources) {}

    Settings Load() {
        FindFiles();
        Settings settings;
        settings.root = Root();
        settings.format = static_cast<Format>(Choice("format", "table"));
        settings.color = static_cast<Color>(Choice("color", "auto"));
        settings.quiet = Choice("quiet", kFalse) == 0;
        bool const wants_progress = Choice("progress", kTrue) == 0;
        settings.progress = wants_progress && !settings.quiet;
        settings.show_text = Choice("show-text", kFalse) == 0;
        settings.all = std::move(all_);
        return settings;
    }

  private:
    void FindFiles() {
        auto const user = UserFile(sources_);
        std::string const files = (user ? *user + ":" : "") + sources_.system_file;
        Found const config = Find("config", files);
        if (config.source != "default" && config.value.empty()) Refuse(config.place + "the path is empty");
        Note("config", config.value, config);
        if (config.source != "default") return ReadFile(config.value, true);
        if (user) ReadFile(*user, false);
        ReadFile(sources_.system_file, false);
    }

    // What an earlier file has set stays.
    void ReadFile(std::string const& path, bool must_exist) {
        std::map<std::string, Found> of_this_file;
        for (auto const& entry : ReadConfigFile(path, must_exist)) {
            std::string const place = path + ":" + std::to_string(entry.line) + ": ";
            CheckName(entry.name, place);
            of_this_file[entry.name] = {entry.value, "file " + path, place + entry.name + ": "};
        }
        from_files_.merge(of_this_file);
    }

    static void CheckName(std::string const& name, std::string const& place) {
        std::vector<std::string> names;
        for (Known const& known : kKnown)
            if (known.variable != nullptr && std::string_view(known.name) != "config") names.emplace_back(known.name);
        if (std::find(names.begin(), names.end(), name) != names.end()) return;
        if (name == "show-text") Refuse(place + "texts are shown only with the option --show-text");
        Refuse(place + "unknown setting '" + name + "'; did you mean '" + NearestTo(name, names) + "'?");
    }

    Found Find(std::string const& name, std::string const& otherwise) const {
        if (auto value = Lookup(sources_.options, name.c_str())) return {*value, "option", "--" + name + ": "};
        if (auto found = FromEnvironment(name)) return *found;
        auto const in_file = from_files_.find(name);
        if (in_file != from_files_.end()) return in_file->second;
        return {otherwise, "default", name + ": "};
    }

    std::optional<Found> FromEnvironment(std::string const& name) const {
        auto const known =
            std::find_if(std::begin(kKnown), std::end(kKnown), [&](Known const& each) { return each.name == name; });
        if (auto value = Variable(sources_, known->variable))
            return Found{*value, std::string("environment ") + known->variable, known->variable + std::string(": ")};
        if (name == "color" && Variable(sources_, kNoColor))
            return Found{"never", std::string("environment ") + kNoColor, ""};
        return std::nullopt;
    }

    std::string Root() {
        Found const found = Find("root", sources_.default_root);
        if (found.value.empty()) Refuse(found.place + "the path is empty");
        // A relative path in the environment or a file would mean another place in every directory.
        bool const typed = found.source == "option";
        if (!typed && found.value.front() != '/') Refuse(found.place + "'" + found.value + "' is no absolute path");
        std::string root = found.value;
        while (root.size() > 1 && root.back() == '/')
            root.pop_back();
        Note("root", root, found);
        return root;
    }

    // Which of the setting's choices it is.
    std::size_t Choice(std::string const& name, char const* otherwise) {
        Found const found = Find(name, otherwise);
        auto const choices = ChoicesOf(name);
        std::string const value = choices.front() == kTrue ? Switch(found.value) : found.value;
        auto const chosen = std::find(choices.begin(), choices.end(), value);
        if (chosen == choices.end()) {
            Refuse(found.place + "'" + found.value + "' is none of " + ListOf(choices) + "; did you mean '" +
                   NearestTo(found.value, choices) + "'?");
        }
        Note(name, value, found);
        return static_cast<std::size_t>(chosen - choices.begin());
    }

    static std::string Switch(std::string const& value) {
        if (value == "1" || value == "true" || value == "on") return kTrue;
        if (value == "0" || value == "false" || value == "off") return kFalse;
        return value;
    }

    void Note(std::string const& name, std::string const& value, Found const& found) {
        all_.push_back({name, value, found.source});
    }

    SettingSources const& sources_;
    std::map<std::string, Found> from_files_;
    std::vector<Setting> all_;
};

}  // namespace

std::map<std::string, std::string> SettingVariables() {
    std::vector<char const*> names{kNoColor, "XDG_CONFIG_HOME", "HOME"};
    for (Known const& known : kKnown)
        if (known.variable != nullptr) names.push_back(known.variable);
    std::map<std::string, std::string> variables;
    for (char const* const name : names) {
        char const* const value = std::getenv(name);
        if (value != nullptr) variables[name] = value;
    }
    return variables;
}

Settings LoadSettings(SettingSources const& sources) {
    return Loader(sources).Load();
}

// In the order of the enumerations.
std::vector<std::string> ChoicesOf(std::string const& setting) {
    if (setting == "format") return {"table", "json", "jsonl", "csv"};
    if (setting == "color") return {"auto", "always", "never"};
    if (setting == "root" || setting == "config") return {};
    return {kTrue, kFalse};
}

}  // namespace torvane
