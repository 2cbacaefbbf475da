#include "tools/torvane/cli/Completion.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/tools/torvane/Tool.h"
#include "tools/torvane/cli/CommandLine.h"

namespace torvane {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAreArray;

// bash with the script that the built program prints.
class Completion : public testing::Test {
  protected:
    Completion() {
        ToolResult const script = Tool(root_).Run({"completion", "bash"});
        EXPECT_EQ(script.status, 0);
        WriteBytes(root_ / "script", script.out);
    }

    // What bash offers for the last of the words of "torvane WORDS", cut as bash cuts them.
    std::vector<std::string> Offers(std::string const& words) const {
        std::string const program = "cd '" + root_.Path() + "' && . ./script && COMP_WORDS=(torvane " + words +
                                    ") && COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) && _torvane && " +
                                    "printf '%s\\n' \"${COMPREPLY[@]}\"";
        WriteBytes(root_ / "program", program);
        std::FILE* const bash = ::popen(("bash --norc '" + (root_ / "program") + "' 2>&1").c_str(), "re");
        std::istringstream lines(ReadAll(::fileno(bash)));
        EXPECT_EQ(::pclose(bash), 0);
        std::vector<std::string> offers;
        for (std::string line; std::getline(lines, line);)
            if (!line.empty()) offers.push_back(line);
        return offers;
    }

    static void AppendNames(std::vector<std::string>& names, CLI::App const& app) {
        for (CLI::Option const* const option : app.get_options()) {
            for (auto const& name : option->get_lnames())
                names.push_back("--" + name);
            for (auto const& name : option->get_snames())
                names.push_back("-" + name);
        }
    }

    TempRoot root_;
    CommandLine line_{AllCommands()};
};

TEST_F(Completion, KnowsEveryCommand) {
    std::vector<std::string> names;
    for (auto const& command : AllCommands())
        names.emplace_back(command.name);
    EXPECT_THAT(Offers("''"), UnorderedElementsAreArray(names));
    EXPECT_THAT(Offers("--root /x ''"), UnorderedElementsAreArray(names));
    EXPECT_THAT(Offers("--root = /x ''"), UnorderedElementsAreArray(names));
    EXPECT_THAT(Offers("con"), ElementsAre("config"));
}

TEST_F(Completion, KnowsEveryOptionOfEveryCommand) {
    std::vector<std::string> shared;
    AppendNames(shared, line_.app());
    EXPECT_THAT(Offers("-"), UnorderedElementsAreArray(shared));
    for (CLI::App const* const command : line_.app().get_subcommands({})) {
        std::vector<std::string> names = shared;
        AppendNames(names, *command);
        // Each has a help option of its own with the names of the shared one.
        std::set<std::string> const once(names.begin(), names.end());
        EXPECT_THAT(Offers(command->get_name() + " -"), UnorderedElementsAreArray(once)) << command->get_name();
    }
}

TEST_F(Completion, KnowsTheChoicesOfOptions) {
    EXPECT_THAT(Offers("config --format ''"), ElementsAre("table", "json", "jsonl", "csv"));
    EXPECT_THAT(Offers("config --format js"), ElementsAre("json", "jsonl"));
    EXPECT_THAT(Offers("config --format = js"), ElementsAre("json", "jsonl"));
    EXPECT_THAT(Offers("config --format ="), ElementsAre("table", "json", "jsonl", "csv"));
    EXPECT_THAT(Offers("tail --level w"), ElementsAre("warning"));
    EXPECT_THAT(Offers("--color n"), ElementsAre("never"));
}

TEST_F(Completion, KnowsTheChoicesOfArguments) {
    EXPECT_THAT(Offers("completion ''"), ElementsAre("bash"));
    EXPECT_THAT(Offers("ls ''"), ElementsAre("templates", "answers", "tasks", "findings", "counters", "texts"));
}

TEST_F(Completion, OffersDirectoriesAndFiles) {
    std::filesystem::create_directory(root_ / "some dir");
    WriteBytes(root_ / "some file", "");
    EXPECT_THAT(Offers("--root some"), ElementsAre("some dir"));
    EXPECT_THAT(Offers("why some"), testing::UnorderedElementsAre("some dir", "some file"));
    EXPECT_THAT(Offers("--config some"), testing::UnorderedElementsAre("some dir", "some file"));
}

}  // namespace
}  // namespace torvane
