#include "tools/torvane/cli/Completion.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace torvane {
namespace {

// Finds the command among the words before the cursor: the first that is neither an option nor an option's value. bash
// takes "--option=value" for three words.
constexpr char kHead[] = R"(# bash completion for torvane
_torvane() {
    local cur="${COMP_WORDS[COMP_CWORD]}" prev="" command="" word last="" i choices="" kind="" options="" value=""
    ((COMP_CWORD > 0)) && prev="${COMP_WORDS[COMP_CWORD - 1]}"
    if [[ "$cur" == "=" ]]; then cur=""; elif [[ "$prev" == "=" ]]; then prev="${COMP_WORDS[COMP_CWORD - 2]}"; fi
    for ((i = 1; i < COMP_CWORD; i++)); do
        word="${COMP_WORDS[i]}"
        if [[ "$word" == "=" ]]; then continue; fi
        if [[ "$word" != -* && " @VALUED@ " != *" $last "* ]]; then command="$word"; break; fi
        last="$word"
    done
    case "$command" in
)";

constexpr char kTail[] = R"(    esac
    COMPREPLY=()
    case "$kind" in
        file) mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;
        dir) mapfile -t COMPREPLY < <(compgen -d -- "$cur") ;;
    esac
    if [[ -n "$kind" && "$kind" != none ]]; then compopt -o filenames 2>/dev/null; fi
    if [[ "$cur" == -* && -z "$value" ]]; then choices="$options"; fi
    COMPREPLY+=($(compgen -W "$choices" -- "$cur"))
    return 0
}
complete -F _torvane torvane
)";

bool IsShown(CLI::Option const& option) {
    return !option.get_group().empty();
}

bool TakesValue(CLI::Option const& option) {
    return option.get_items_expected_max() > 0;
}

std::vector<std::string> NamesOf(CLI::Option const& option) {
    std::vector<std::string> names;
    for (auto const& name : option.get_snames())
        names.push_back("-" + name);
    for (auto const& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::string Joined(std::vector<std::string> const& words, char const* separator = " ") {
    return fmt::format("{}", fmt::join(words, separator));
}

// The words of a type like "{one,other}", wherever in the type it stands.
std::string ChoicesIn(std::string const& type) {
    std::size_t const open = type.find('{');
    std::size_t const close = type.find('}', open == std::string::npos ? 0 : open);
    if (open == std::string::npos || close == std::string::npos) return "";
    std::string choices = type.substr(open + 1, close - open - 1);
    std::replace(choices.begin(), choices.end(), ',', ' ');
    return choices;
}

std::string KindOf(std::string type) {
    std::transform(type.begin(), type.end(), type.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    if (type.find("DIR") != std::string::npos) return "dir";
    bool const file = type.find("FILE") != std::string::npos || type.find("PATH") != std::string::npos;
    return file ? "file" : "none";
}

// A command's own help option has the names of the shared one, which are offered with it.
bool IsOwnHelp(CLI::App const& app, CLI::Option const& option) {
    return app.get_parent() != nullptr && &option == app.get_help_ptr();
}

std::vector<std::string> OptionNames(CLI::App const& app, bool valued_only) {
    std::vector<std::string> all;
    for (CLI::Option const* const option : app.get_options()) {
        if (!IsShown(*option) || IsOwnHelp(app, *option) || (valued_only && !TakesValue(*option))) continue;
        for (auto const& name : NamesOf(*option))
            all.push_back(name);
    }
    return all;
}

// "--format) choices='table json' kind=none" for each option with a value.
std::string ValueCases(CLI::App const& app) {
    std::string cases;
    for (CLI::Option const* const option : app.get_options()) {
        if (!IsShown(*option) || !TakesValue(*option) || option->get_positional()) continue;
        std::string const type = option->get_type_name();
        cases += fmt::format("                {}) value=1 choices=\"{}\" kind={} ;;\n", Joined(NamesOf(*option), " | "),
                             ChoicesIn(type), KindOf(type));
    }
    return cases;
}

// What completes the arguments of a command.
std::string ArgumentCase(CLI::App const& command) {
    std::string choices;
    std::string kind = "none";
    for (CLI::Option const* const option : command.get_options()) {
        if (!option->get_positional()) continue;
        std::string const type = option->get_type_name();
        choices += (choices.empty() ? "" : " ") + ChoicesIn(type);
        // A bare name that tells what it is, "PATH", does as well as a type.
        std::string const own = KindOf(type + " " + option->get_name(true));
        if (own != "none") kind = own;
    }
    return fmt::format("                *) choices=\"{}\" kind={} ;;\n", choices, kind);
}

std::string CaseOf(std::string const& pattern, std::string const& options, std::string const& values,
                   std::string const& otherwise) {
    return fmt::format(
        "        {})\n            options=\"{}\"\n            case \"$prev\" in\n{}{}            esac\n            "
        ";;\n",
        pattern, options, values, otherwise);
}

}  // namespace

std::string BashCompletion(CLI::App const& app) {
    std::string head = kHead;
    std::string const valued = "@VALUED@";
    head.replace(head.find(valued), valued.size(), Joined(OptionNames(app, true)));
    std::string cases;
    std::vector<std::string> names;
    std::string const shared_options = Joined(OptionNames(app, false));
    std::string const shared_values = ValueCases(app);
    for (CLI::App const* const command : app.get_subcommands({})) {
        names.push_back(command->get_name());
        cases += CaseOf(command->get_name(), Joined(OptionNames(*command, false)) + " " + shared_options,
                        ValueCases(*command) + shared_values, ArgumentCase(*command));
    }
    std::string const no_command = fmt::format("                *) choices=\"{}\" kind=none ;;\n", Joined(names));
    return head + cases + CaseOf("*", shared_options, shared_values, no_command) + kTail;
}

}  // namespace torvane
