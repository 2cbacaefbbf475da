#include "tools/torvane/cli/CommandLine.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "host/base/LocateMgr.h"
#include "tools/torvane/cli/Nearest.h"
#include "tools/torvane/output/Sink.h"

namespace torvane {
namespace {

constexpr char kDescription[] = "Looks inside a cache, checks it and mends it. Nothing below the root is ever changed.";
constexpr char kFooter[] =
    "The options of 'torvane --help' go with every command, before or behind its name.\n"
    "\n"
    "Settings come from options, then the environment (TORVANE_ROOT, TORVANE_FORMAT, TORVANE_COLOR, NO_COLOR,\n"
    "TORVANE_QUIET, TORVANE_PROGRESS, TORVANE_CONFIG), then torvane/torvane.conf in XDG_CONFIG_HOME\n"
    "(~/.config) and /etc/torvane/torvane.conf (lines \"name = value\"), then defaults; 'torvane config' shows them.\n"
    "\n"
    "Exit status: 0 yes, found, sound; 1 no, not found, damage found; 2 wrong usage; 3 input, output or permission;\n"
    "4 no cache at that root; 5 busy: it kept changing; 6 a format that this version does not know.";

void Print(std::string const& text) {
    Sink sink(stdout);
    sink.Write(text);
    sink.Flush();
}

[[noreturn]] void Refuse(std::string const& message, CLI::App const* command) {
    std::string const help = command == nullptr ? "" : command->get_name() + " ";
    throw Stop(ExitStatus::kUsage, message + " (see 'torvane " + help + "--help')");
}

std::string Braced(std::vector<std::string> const& choices) {
    std::string braced = "{" + ListOf(choices) + "}";
    std::erase(braced, ' ');
    return braced;
}

std::vector<std::string> CommandNames(CLI::App const& app) {
    std::vector<std::string> names;
    for (CLI::App const* const command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

void AppendOptionNames(std::vector<std::string>& names, CLI::App const& app) {
    for (CLI::Option const* const option : app.get_options()) {
        for (auto const& name : option->get_lnames())
            names.push_back("--" + name);
        for (auto const& name : option->get_snames())
            names.push_back("-" + name);
    }
}

bool IsOption(std::string const& word) {
    return word.size() > 1 && word.front() == '-';
}

bool WantsColor(Color color) {
    if (color != Color::kAuto) return color == Color::kAlways;
    char const* const term = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) == 1 && term != nullptr && *term != 0 && std::string_view(term) != "dumb";
}

// The words in the order that CLI11 takes them in, the last first. It would take "--root=" for a missing value and the
// next word for it.
std::vector<std::string> Backwards(std::vector<std::string> const& arguments) {
    std::vector<std::string> words;
    bool options = true;
    for (auto const& argument : arguments) {
        options = options && argument != "--";
        bool const empty_value = options && argument.starts_with("--") && argument.find('=') == argument.size() - 1;
        words.push_back(empty_value ? argument.substr(0, argument.size() - 1) : argument);
        if (empty_value) words.emplace_back();
    }
    std::reverse(words.begin(), words.end());
    return words;
}

// Whatever the command ends with, what it has said is written out.
ExitStatus Finish(Runner const& run, Context const& context) {
    try {
        ExitStatus const status = run(context);
        context.out.Flush();
        return status;
    } catch (Stop const&) {
        context.out.Flush();
        throw;
    }
}

}  // namespace

CommandLine::CommandLine(std::span<CommandEntry const> commands) : app_(kDescription, "torvane") {
    app_.footer(kFooter);
    app_.set_version_flag("--version", std::string("torvane " TORVANE_VERSION));
    app_.fallthrough();             // the options of every command may stand behind a command
    app_.require_subcommand(0, 1);  // of two words that name commands the second is an argument
    AddGlobalOptions();
    for (auto const& command : commands) {
        Runner runner = command.add(app_);
        runners_[app_.get_subcommand(command.name)] = std::move(runner);
        if (command.outlives_reader) outlives_reader_.insert(app_.get_subcommand(command.name));
    }
}

void CommandLine::AddGlobalOptions() {
    AddText("root", "DIR", "Root directory of the cache");
    AddText("format", Braced(ChoicesOf("format")).c_str(), "Form of the answer");
    AddText("color", Braced(ChoicesOf("color")).c_str(), "Colours; auto: on a terminal");
    AddText("config", "FILE", "Read settings from this file and no other");
    AddSwitch("quiet", "-q,--quiet,!--no-quiet", "Nothing but the answer");
    AddSwitch("progress", "--progress,!--no-progress", "Show on a terminal how far it is (default), or do not");
    AddSwitch("show-text", "--show-text,!--no-show-text", "Show match texts and extracted texts, not only lengths");
}

void CommandLine::AddText(std::string const& name, char const* type, char const* description) {
    auto const keep = [this, name](std::string const& value) { given_[name] = value; };
    app_.add_option_function<std::string>("--" + name, keep, description)->type_name(type)->take_last();
}

void CommandLine::AddSwitch(std::string const& name, std::string const& names, char const* description) {
    switch_of_[name] = app_.add_flag(names, switches_[name], description);
}

ExitStatus CommandLine::Run(std::vector<std::string> const& arguments) {
    if (!Parse(arguments)) return ExitStatus::kYes;
    CLI::App const* const command = Chosen();
    if (command == nullptr) Refuse("no command given: " + ListOf(CommandNames(app_)), nullptr);
    Settings const settings = Load();
    Output out(settings.format, WantsColor(settings.color), stdout);
    if (outlives_reader_.contains(command)) out.OutliveReader();
    return Finish(runners_.at(command), Context{settings, out, app_});
}

bool CommandLine::Parse(std::vector<std::string> const& arguments) {
    try {
        app_.parse(Backwards(arguments));
        return true;
    } catch (CLI::CallForVersion const& version) {
        Print(version.what() + std::string("\n"));
    } catch (CLI::CallForHelp const&) {
        Print(app_.help());
    } catch (CLI::ExtrasError const&) {
        RefuseExtra();
    } catch (CLI::RequiredError const& error) {
        // A mistyped option may be the one that is missing.
        auto const extras = app_.remaining(true);
        if (std::any_of(extras.begin(), extras.end(), IsOption)) RefuseExtra();
        Refuse(error.what() + ChoicesOfMissing(), Chosen());
    } catch (CLI::ArgumentMismatch const& error) {
        std::string const text = error.what();  // "--limit: 1 required N missing"
        bool const is_missing = text.ends_with("missing");
        Refuse(text.substr(0, text.find(':')) + (is_missing ? ": the value is missing" : ": given more than once"),
               Chosen());
    } catch (CLI::ConversionError const& error) {
        std::string const text = error.what();  // "Could not convert: --quiet = maybe"
        Refuse(text.substr(text.find('-')) + ": is neither yes nor no", Chosen());
    } catch (CLI::ParseError const& error) {
        Refuse(error.what(), Chosen());
    }
    return false;
}

void CommandLine::RefuseExtra() const {
    CLI::App const* const command = Chosen();
    auto const extras = app_.remaining(true);
    auto const option = std::find_if(extras.begin(), extras.end(), IsOption);
    std::string const extra = extras.empty() ? "" : option != extras.end() ? *option : extras.front();
    if (IsOption(extra)) {
        std::string const name = extra.substr(0, extra.find('='));
        std::vector<std::string> names;
        if (command != nullptr) AppendOptionNames(names, *command);
        AppendOptionNames(names, app_);
        Refuse("unknown option '" + name + "'; did you mean '" + NearestTo(name, names) + "'?", command);
    }
    if (command == nullptr) {
        auto const names = CommandNames(app_);
        Refuse("unknown command '" + extra + "'; did you mean '" + NearestTo(extra, names) + "'?", nullptr);
    }
    Refuse("'" + extra + "' is one argument too many", command);
}

std::string CommandLine::ChoicesOfMissing() const {
    CLI::App const* const command = Chosen();
    if (command == nullptr) return "";
    for (CLI::Option const* const option : command->get_options()) {
        std::string const type = option->get_type_name();
        if (option->get_required() && option->count() == 0 && type.starts_with('{')) return ": " + type;
    }
    return "";
}

CLI::App const* CommandLine::Chosen() const {
    auto const commands = app_.get_subcommands();
    return commands.empty() ? nullptr : commands.front();
}

Settings CommandLine::Load() const {
    SettingSources sources;
    sources.options = given_;
    for (auto const& [name, option] : switch_of_)
        if (option->count() > 0) sources.options[name] = switches_.at(name) ? "yes" : "no";
    sources.environment = SettingVariables();
    sources.default_root = Varnok::LocateMgr::pins()->get_root(false).get_str();
    return LoadSettings(sources);
}

}  // namespace torvane
