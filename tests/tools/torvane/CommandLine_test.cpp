#include "tools/torvane/cli/CommandLine.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "tests/tools/torvane/Tool.h"

namespace torvane {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class CommandLines : public testing::Test {
  protected:
    // The value and the source of a setting as the program tells it.
    std::string Setting(std::string const& name, std::vector<std::string> words = {}) const {
        words.insert(words.begin(), {"config", "--format", "json"});
        auto const document = tool_.Run(words).Json();
        for (auto const& row : document.at("items"))
            if (row["name"] == name)
                return row["value"].get<std::string>() + " (" + row["source"].get<std::string>() + ")";
        return "none";
    }

    void ExpectMisuse(std::vector<std::string> const& words, std::string const& message) const {
        ToolResult const result = tool_.Run(words);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "torvane: " + message + "\n");
    }

    TempRoot root_;
    Tool tool_{root_};
};

TEST_F(CommandLines, ThatAreWrongTellTheNearestRightOne) {
    ExpectMisuse({"verfy"}, "unknown command 'verfy'; did you mean 'verify'? (see 'torvane --help')");
    ExpectMisuse({"config", "--fromat", "json"},
                 "unknown option '--fromat'; did you mean '--format'? (see 'torvane config --help')");
    ExpectMisuse({"--fromat=json", "config"},
                 "unknown option '--fromat'; did you mean '--format'? (see 'torvane config --help')");
    ExpectMisuse({"tail", "--folow"}, "unknown option '--folow'; did you mean '--follow'? (see 'torvane tail --help')");
    ExpectMisuse({"--format", "jsn", "config"},
                 "--format: 'jsn' is none of table, json, jsonl, csv; did you mean 'json'?");
    ExpectMisuse({"why", "--tmplate", "X", "file"},
                 "unknown option '--tmplate'; did you mean '--template'? (see 'torvane why --help')");
    ExpectMisuse({"repair", "--ou", "x"}, "unknown option '--ou'; did you mean '--out'? (see 'torvane repair --help')");
    ExpectMisuse({"completion", "zsh"}, "there is no completion for 'zsh'; did you mean 'bash'?");
}

TEST_F(CommandLines, WithoutACommandNameThem) {
    ToolResult const result = tool_.Run({});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err,
                StartsWith("torvane: no command given: stat, ls, show, why, verify, repair, compact, export, "
                           "tail, config, completion "));
}

TEST_F(CommandLines, WithTooFewOrTooManyArgumentsAreMisuse) {
    EXPECT_EQ(tool_.Run({"completion"}).status, 2);
    ExpectMisuse({"config", "stat"}, "'stat' is one argument too many (see 'torvane config --help')");
    EXPECT_EQ(tool_.Run({"config", "--root"}).status, 2);
    ExpectMisuse({"--root=", "config"}, "--root: the path is empty");
    ExpectMisuse({"--root", "", "config"}, "--root: the path is empty");
    ExpectMisuse({"--config=", "config"}, "--config: the path is empty");
    EXPECT_EQ(tool_.Run({"why", "file"}).status, 2);
}

TEST_F(CommandLines, SayWhatIsWrongWithAnOption) {
    EXPECT_THAT(tool_.Run({"ls", "answers", "--template", "a", "--template", "b"}).err,
                HasSubstr("--template: given more than once"));
    EXPECT_THAT(tool_.Run({"ls", "answers", "--template"}).err, HasSubstr("--template: the value is missing"));
    EXPECT_THAT(tool_.Run({"--quiet=maybe", "config"}).err, HasSubstr("--quiet = maybe: is neither yes nor no"));
    EXPECT_THAT(tool_.Run({"ls"}).err, HasSubstr("what is required: {templates,"));
}

TEST_F(CommandLines, TakeNumbersInDigitsOnly) {
    for (std::string const value : {"-1", "", "1x", "0x10", "1e3", " 1", "+1", "9223372036854775808"}) {
        ExpectMisuse({"ls", "answers", "--limit", value},
                     "--limit: '" + value + "' is no number from 0 to 9223372036854775807 (see 'torvane ls --help')");
        EXPECT_EQ(tool_.Run({"tail", "--no-follow", "--lines", value}).status, 2) << value;
        EXPECT_EQ(tool_.Run({"stat", "--watch", "1", "--rounds", value}).status, 2) << value;
        EXPECT_EQ(tool_.Run({"show", "--task", "t", "--sn", value}).status, 2) << value;
    }
    EXPECT_EQ(tool_.Run({"stat", "--watch", "1", "--rounds", "0"}).status, 2);
    EXPECT_EQ(tool_.Run({"show", "--task", "t", "--sn", "0"}).status, 2);
    EXPECT_EQ(tool_.Run({"show", "--task", "t", "--sn", "2147483648"}).status, 2);
    for (std::string const value : {"-1", "0", "0.09", "86401", "nan", "inf", "1e1", ".", "1.2.3"})
        EXPECT_EQ(tool_.Run({"stat", "--rounds", "1", "--watch", value}).status, 2) << value;
}

TEST_F(CommandLines, TakeNumbersThatAreRight) {
    std::string const root = root_ / "none";
    for (std::string const value : {"0", "010", "9223372036854775807"})
        EXPECT_EQ(tool_.Run({"--root", root, "ls", "answers", "--limit", value}).status, 4) << value;
    for (std::string const value : {"0.1", "1", "1.5", "86400"})
        EXPECT_EQ(tool_.Run({"--root", root, "stat", "--rounds", "1", "--watch", value}).status, 4) << value;
    EXPECT_EQ(tool_.Run({"--root", root, "show", "--task", "t", "--sn", "2147483647"}).status, 4);
}

TEST_F(CommandLines, TakeNoEmptyId) {
    ExpectMisuse({"ls", "answers", "--template", ""}, "--template: the value is empty (see 'torvane ls --help')");
    for (char const* const option : {"--template", "--task", "--policy"})
        EXPECT_EQ(tool_.Run({"ls", "tasks", option, ""}).status, 2) << option;
    EXPECT_EQ(tool_.Run({"why", "/dev/null", "--template="}).status, 2);
    EXPECT_EQ(tool_.Run({"show", "key", "--template", ""}).status, 2);
}

TEST_F(CommandLines, TellTheNearestThingToList) {
    std::string const all = "' is none of templates, answers, tasks, findings, counters, texts; did you mean '";
    ExpectMisuse({"ls", "answer"}, "'answer" + all + "answers'?");
    ExpectMisuse({"export", "tasks", "txts"}, "'txts" + all + "texts'?");
}

TEST_F(CommandLines, PassOverAFileOfSettingsThatMayNotBeRead) {
    std::string const home = root_ / "closed";
    std::filesystem::create_directory(home);
    std::filesystem::permissions(home, std::filesystem::perms::none);
    std::filesystem::permissions(root_.Path(), std::filesystem::perms(0755));
    tool_.environment["HOME"] = home;
    auto const result = tool_.RunUnprivileged({"config"});
    auto const named = tool_.RunUnprivileged({"--config", home + "/x", "config"});
    std::filesystem::permissions(home, std::filesystem::perms(0700));
    if (!result || !named) GTEST_SKIP() << "nobody else can start the program here";
    EXPECT_EQ(result->status, 0) << result->err;
    EXPECT_EQ(named->status, 3);
}

TEST_F(CommandLines, EscapeWhatTheyComplainAbout) {
    ExpectMisuse({"\x1b[2J\xff"}, "unknown command '\\x1B[2J\\xFF'; did you mean 'stat'? (see 'torvane --help')");
}

TEST_F(CommandLines, AnswerWithHelpAndVersion) {
    ToolResult const help = tool_.Run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (auto const& command : AllCommands())
        EXPECT_THAT(help.out, HasSubstr(std::string("\n  ") + command.name + " "));
    EXPECT_THAT(tool_.Run({"tail", "--help"}).out, HasSubstr("--level"));
    EXPECT_THAT(tool_.Run({"--version"}).out, testing::MatchesRegex("torvane [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(CommandLines, TakeTheOptionsOfEveryCommandBeforeAndBehindItsName) {
    EXPECT_EQ(Setting("root", {"--root", "/a"}), "/a (option)");
    EXPECT_THAT(tool_.Run({"--root", "/a", "config"}).out, HasSubstr("/a"));
    EXPECT_EQ(Setting("root", {"--root", "/a", "--root=/b"}), "/b (option)");
    EXPECT_EQ(Setting("quiet", {"-q"}), "yes (option)");
    EXPECT_EQ(Setting("progress", {"--no-progress"}), "no (option)");
    EXPECT_EQ(Setting("progress", {"--no-progress", "--progress"}), "yes (option)");
    EXPECT_EQ(Setting("show-text", {"--show-text"}), "yes (option)");
}

TEST_F(CommandLines, ComeBeforeEnvironmentFileAndDefault) {
    std::filesystem::create_directories(root_ / "home/.config/torvane");
    std::string const file = root_ / "home/.config/torvane/torvane.conf";
    WriteBytes(file, "root = /file\n");
    EXPECT_EQ(Setting("root"), "/file (file " + file + ")");
    tool_.environment["TORVANE_ROOT"] = "/environment";
    EXPECT_EQ(Setting("root"), "/environment (environment TORVANE_ROOT)");
    EXPECT_EQ(Setting("root", {"--root", "/option"}), "/option (option)");
    EXPECT_EQ(Setting("quiet", {"--config", "/dev/null"}), "no (default)");
}

TEST_F(CommandLines, FindTheFileOfTheUsersConfigurationDirectory) {
    std::filesystem::create_directories(root_ / "config/torvane");
    WriteBytes(root_ / "config/torvane/torvane.conf", "quiet = yes\n");
    tool_.environment["XDG_CONFIG_HOME"] = root_ / "config";
    EXPECT_EQ(Setting("quiet"), "yes (file " + (root_ / "config/torvane/torvane.conf") + ")");
}

TEST_F(CommandLines, TellASettingsFileThatIsWrongFromOneThatCannotBeRead) {
    WriteBytes(root_ / "wrong.conf", "color = always\nformt = json\n");
    ExpectMisuse({"config", "--config", root_ / "wrong.conf"},
                 (root_ / "wrong.conf") + ":2: unknown setting 'formt'; did you mean 'format'?");
    EXPECT_EQ(tool_.Run({"config", "--config", root_ / "missing"}).status, 3);
}

TEST_F(CommandLines, UseTheLibrarysDefaultRoot) {
    tool_.environment["XDG_STATE_HOME"] = "/state";
    EXPECT_EQ(Setting("root"), std::string(::geteuid() == 0 ? "/var/lib/torvane" : "/state/torvane") + " (default)");
}

TEST_F(CommandLines, OfConfigFollowTheSchema) {
    for (char const* const form : {"json", "jsonl"}) {
        ToolResult const result = tool_.Run({"config", "--format", form, "--root", "/\xff\x1b", "-q"});
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(FollowsSchema(result.out, form)) << result.out;
    }
}

TEST_F(CommandLines, AreColouredOnATerminalOnly) {
    tool_.environment["TERM"] = "xterm";
    EXPECT_THAT(tool_.RunOnTerminal({"config"}).out, StartsWith("\x1b[1mSETTING"));
    EXPECT_THAT(tool_.Run({"config"}).out, StartsWith("SETTING"));
    EXPECT_THAT(tool_.Run({"config", "--color", "always"}).out, StartsWith("\x1b[1mSETTING"));
    EXPECT_THAT(tool_.RunOnTerminal({"config", "--color", "never"}).out, StartsWith("SETTING"));
}

TEST_F(CommandLines, AreNotColouredForWhoeverDoesNotWantIt) {
    tool_.environment["TERM"] = "dumb";
    EXPECT_THAT(tool_.RunOnTerminal({"config"}).out, StartsWith("SETTING"));
    tool_.environment.erase("TERM");
    EXPECT_THAT(tool_.RunOnTerminal({"config"}).out, StartsWith("SETTING"));
    tool_.environment["TERM"] = "xterm";
    tool_.environment["NO_COLOR"] = "1";
    EXPECT_THAT(tool_.RunOnTerminal({"config"}).out, StartsWith("SETTING"));
    EXPECT_THAT(tool_.RunOnTerminal({"config", "--color", "auto"}).out, StartsWith("\x1b[1mSETTING"));
}

TEST_F(CommandLines, EndQuietlyWhenNobodyReads) {
    for (std::vector<std::string> const& words : std::vector<std::vector<std::string>>{
             {"config"}, {"config", "--format", "json"}, {"--help"}, {"completion", "bash"}}) {
        ToolResult const result = tool_.RunIntoClosedPipe(words);
        EXPECT_EQ(result.status, 0) << words[0];
        EXPECT_EQ(result.err, "") << words[0];
    }
}

TEST_F(CommandLines, FailWhenTheAnswerCannotBeWritten) {
    for (std::vector<std::string> const& words :
         std::vector<std::vector<std::string>>{{"config"}, {"--help"}, {"--version"}, {"completion", "bash"}}) {
        ToolResult const full = tool_.RunInto("/dev/full", words);
        EXPECT_EQ(full.status, 3) << words[0];
        EXPECT_EQ(full.err, "torvane: cannot write the output: No space left on device\n") << words[0];
        ToolResult const closed = tool_.RunInto("", words);
        EXPECT_EQ(closed.status, 3) << words[0];
        EXPECT_EQ(closed.err, "torvane: cannot write the output: Bad file descriptor\n") << words[0];
    }
}

TEST_F(CommandLines, OfConfigTouchNoRoot) {
    EXPECT_EQ(tool_.Run({"config", "--root", root_ / "missing"}).status, 0);
    EXPECT_THAT(Files(root_ / "missing"), IsEmpty());
    EXPECT_FALSE(Exists(root_ / "missing"));
}

// A command that ends as the test wants it.
ExitStatus (*ending)() = nullptr;

Runner AddEnding(CLI::App& app) {
    app.add_subcommand("end");
    return [](Context const& context) {
        context.out.Line("said");
        return ending();
    };
}

TEST(CommandEndings, AreWhatTheCommandEndsWith) {
    CommandEntry const entries[] = {{"end", AddEnding}};
    ending = [] { return ExitStatus::kBusy; };
    EXPECT_EQ(CommandLine(entries).Run({"end", "--config", "/dev/null"}), ExitStatus::kBusy);
    ending = []() -> ExitStatus { throw Stop(ExitStatus::kUnknownFormat, "why"); };
    try {
        (void)CommandLine(entries).Run({"end", "--config", "/dev/null"});
        FAIL();
    } catch (Stop const& stop) {
        EXPECT_EQ(stop.status(), ExitStatus::kUnknownFormat);
        EXPECT_STREQ(stop.what(), "why");
    }
}

TEST(CommandEndings, WriteWhatWasSaidBefore) {
    CommandEntry const entries[] = {{"end", AddEnding}};
    ending = []() -> ExitStatus { throw Stop(ExitStatus::kIo, "why"); };
    testing::internal::CaptureStdout();
    EXPECT_THROW((void)CommandLine(entries).Run({"end", "--config", "/dev/null"}), Stop);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "said\n");
}

TEST(CommandNames, ThatAreArgumentsOfACommandAreNoCommands) {
    static std::string argument;
    auto const add = [](CLI::App& app) -> Runner {
        app.add_subcommand("why")->add_option("path", argument);
        return [](Context const&) { return ExitStatus::kYes; };
    };
    CommandEntry const entries[] = {{"why", add}, {"end", AddEnding}};
    ending = [] { return ExitStatus::kNo; };
    EXPECT_EQ(CommandLine(entries).Run({"why", "end", "--config", "/dev/null"}), ExitStatus::kYes);
    EXPECT_EQ(argument, "end");
}

}  // namespace
}  // namespace torvane
