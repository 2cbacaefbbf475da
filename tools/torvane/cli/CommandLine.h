#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cli/Command.h"

namespace torvane {

struct CommandEntry {
    char const* name;
    Runner (*add)(CLI::App& app);
    // Its status says something of the whole cache, or it makes something: it goes on when nobody reads what it says.
    // Others end then, with kYes.
    bool outlives_reader = false;
};

// Every command, in the order of the help.
[[nodiscard]] std::span<CommandEntry const> AllCommands();

// The command line: the options of every command and the commands themselves. Runs one. One object, one thread.
class CommandLine {
  public:
    explicit CommandLine(std::span<CommandEntry const> commands);
    CommandLine(CommandLine const&) = delete;
    CommandLine& operator=(CommandLine const&) = delete;

    [[nodiscard]] CLI::App const& app() const { return app_; }

    // Runs the command that `arguments`, which are without the program's name, ask for, with its answer on stdout.
    // Throws Stop: kUsage with the nearest right command or option for a wrong one, and what the command ends with;
    // ClosedPipe.
    [[nodiscard]] ExitStatus Run(std::vector<std::string> const& arguments);

  private:
    void AddGlobalOptions();
    void AddSwitch(std::string const& name, std::string const& names, char const* description);
    void AddText(std::string const& name, char const* type, char const* description);
    // False when the command line asked for help or the version, which has been printed.
    [[nodiscard]] bool Parse(std::vector<std::string> const& arguments);
    [[noreturn]] void RefuseExtra() const;
    // ": {one,other}" when an argument of a few choices is missing.
    [[nodiscard]] std::string ChoicesOfMissing() const;
    [[nodiscard]] CLI::App const* Chosen() const;  // null: no command was named
    [[nodiscard]] Settings Load() const;

    CLI::App app_;
    std::map<CLI::App const*, Runner> runners_;
    std::set<CLI::App const*> outlives_reader_;
    std::map<std::string, std::string> given_;  // texts among the options of every command
    std::map<std::string, bool> switches_;      // their values are CLI11's to set
    std::map<std::string, CLI::Option*> switch_of_;
};

}  // namespace torvane
