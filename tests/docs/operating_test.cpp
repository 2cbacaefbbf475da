// Holds docs/operating.md and the program together: the commands of the page are commands that the program has.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/TempRoot.h"
#include "tests/tools/torvane/Tool.h"

namespace {

using Words = std::vector<std::string>;

// The words of a command line behind "torvane", up to where the shell's part of it begins.
Words WordsOf(std::string const& line) {
    std::istringstream stream(line);
    Words words;
    for (std::string word; stream >> word && word[0] != '|' && word[0] != '>' && word[0] != ';' && word[0] != '&';)
        words.push_back(word);
    return words;
}

// The command lines of the page: lines of code, with or without a prompt, and code in a sentence.
std::vector<Words> CommandsOfThePage() {
    std::ifstream page(TORVANE_SOURCE_DIR "/docs/operating.md");
    EXPECT_TRUE(page.is_open());
    static std::regex const block(R"(^    (?:\$ )?torvane (.*)$)");
    static std::regex const span(R"(`torvane ([^`]*)`)");
    std::vector<Words> commands;
    std::smatch found;
    for (std::string line; std::getline(page, line);) {
        if (std::regex_match(line, found, block)) {
            commands.push_back(WordsOf(found[1]));
            continue;
        }
        for (std::sregex_iterator at(line.begin(), line.end(), span); at != std::sregex_iterator(); ++at)
            commands.push_back(WordsOf((*at)[1]));
    }
    return commands;
}

// What the program says of itself.
class OperatingPage : public testing::Test {
  protected:
    struct Help {
        std::set<std::string> options;
        std::set<std::string> with_value;
        std::set<std::string> choices;  // of positionals
        std::set<std::string> commands;
        bool takes_words = false;
    };

    void SetUp() override {
        global_ = HelpOf({"--help"});
        ASSERT_TRUE(global_.commands.count("verify"));
        for (std::string const& command : global_.commands)
            helps_[command] = HelpOf({command, "--help"});
    }

    // Empty: the program has this command and these options.
    std::string WhyWrong(Words const& words) const {
        Help const* command = nullptr;
        for (auto word = words.begin(); word != words.end(); ++word) {
            std::string const name = word->substr(0, word->find('='));
            if (name.starts_with("-")) {
                if (!Has(command, &Help::options, name)) return "unknown option " + name;
                if (Has(command, &Help::with_value, name) && name == *word && ++word == words.end())
                    return "no value behind " + name;
            } else if (command == nullptr) {
                if (name == "COMMAND") return {};
                auto const found = helps_.find(name);
                if (found == helps_.end()) return "unknown command " + name;
                command = &found->second;
            } else if (!command->takes_words || (!command->choices.empty() && command->choices.count(name) == 0)) {
                return "unknown word " + name;
            }
        }
        return {};
    }

  private:
    bool Has(Help const* command, std::set<std::string> Help::*set, std::string const& name) const {
        return (global_.*set).count(name) != 0 || (command != nullptr && (command->*set).count(name) != 0);
    }

    Help HelpOf(Words const& words) const {
        ToolResult const result = tool_.Run(words);
        EXPECT_EQ(result.status, 0);
        static std::regex const option(R"(^  (-[^ ]+)( (?!Excludes:|Needs:)[A-Z{][^ ]*)?.*)");
        static std::regex const word(R"(^  ([a-z]+) .*)");
        static std::regex const choices(R"(\{([a-z,]+)\})");
        Help help;
        std::string section;
        std::istringstream lines(result.out);
        std::smatch found;
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line[0] != ' ') section = line;
            if (section == "Options:" && std::regex_match(line, found, option)) {
                bool const value = found[2].matched;
                std::istringstream names(found[1]);
                for (std::string name; std::getline(names, name, ',');) {
                    name = name.substr(0, name.find('{'));
                    help.options.insert(name);
                    if (value) help.with_value.insert(name);
                }
            } else if (section == "Subcommands:" && std::regex_match(line, found, word)) {
                help.commands.insert(found[1]);
            } else if (section == "Positionals:") {
                help.takes_words = true;
                if (!std::regex_search(line, found, choices)) continue;
                std::istringstream names(found[1]);
                for (std::string name; std::getline(names, name, ',');)
                    help.choices.insert(name);
            }
        }
        return help;
    }

    TempRoot root_;
    Tool tool_{root_};
    Help global_;
    std::map<std::string, Help> helps_;
};

TEST_F(OperatingPage, NamesOnlyCommandsAndOptionsThatTheProgramHas) {
    std::vector<Words> const commands = CommandsOfThePage();
    EXPECT_GE(commands.size(), 40U);
    for (Words const& words : commands)
        EXPECT_EQ(WhyWrong(words), "") << testing::PrintToString(words);
}

TEST_F(OperatingPage, TellsOfEveryCommandButTheCompletion) {
    std::set<std::string> told;
    for (Words const& words : CommandsOfThePage())
        told.insert(words.begin(), words.end());
    for (char const* const command :
         {"stat", "ls", "show", "why", "verify", "repair", "compact", "export", "tail", "config"})
        EXPECT_EQ(told.count(command), 1U) << command;
}

TEST_F(OperatingPage, NamesEverySchemaThatIsShipped) {
    std::ifstream page(TORVANE_SOURCE_DIR "/docs/operating.md");
    std::string const text(std::istreambuf_iterator<char>(page), {});
    std::size_t schemas = 0;
    for (auto const& entry : std::filesystem::directory_iterator(TORVANE_SOURCE_DIR "/share/torvane/schema")) {
        std::string const stem = entry.path().stem();  // "verify-1"
        EXPECT_TRUE(stem.ends_with("-1")) << "the page says that every number is 1: " << stem;
        EXPECT_NE(text.find('`' + stem.substr(0, stem.rfind('-')) + '`'), std::string::npos) << stem;
        ++schemas;
    }
    EXPECT_GE(schemas, 15U);
}

TEST_F(OperatingPage, WrongLinesAreSeen) {
    EXPECT_EQ(WhyWrong({"stat", "--watch", "5"}), "");
    EXPECT_EQ(WhyWrong({"--root", "/srv/small", "verify", "--quick"}), "");
    EXPECT_EQ(WhyWrong({"stats"}), "unknown command stats");
    EXPECT_EQ(WhyWrong({"verify", "--fast"}), "unknown option --fast");
    EXPECT_EQ(WhyWrong({"verify", "--watch", "5"}), "unknown option --watch");
    EXPECT_EQ(WhyWrong({"ls", "answer"}), "unknown word answer");
    EXPECT_EQ(WhyWrong({"stat", "all"}), "unknown word all");
    EXPECT_EQ(WhyWrong({"repair", "--out"}), "no value behind --out");
}

}  // namespace
