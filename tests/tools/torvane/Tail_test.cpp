#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/tools/torvane/Tool.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr char kError[] = "2026-01-31T12:00:00.000Z 1 ../DLPCacheIndex.cpp:58 Find, Line:58, No exist file: /x";
constexpr char kWarning[] = "2026-01-31T12:00:01.000Z 2 ../DLPCacheTpl.cpp:9 Open, Line:9, damaged";
constexpr char kInformation[] = "2026-01-31T12:00:02.000Z 3 ../DLPCacheMgr.cpp:7 Init";

// A root with a log of three lines.
class TailOf : public testing::Test {
  protected:
    TailOf() {
        std::filesystem::create_directories(root_ / "log");
        std::filesystem::create_directories(root_ / "cache");
        Append(std::string(kError) + "\n" + kWarning + "\n" + kInformation + "\n");
    }

    void Append(std::string const& text) const { std::ofstream(log_, std::ios::app | std::ios::binary) << text; }

    ToolResult Tail(std::vector<std::string> words) const {
        words.insert(words.begin(), {"tail", "--no-follow", "--root", root_.Path()});
        return tool_.Run(words);
    }

    TempRoot root_;
    std::string log_ = root_ / "log/DLPCache.log";
    Tool tool_{root_};
};

TEST_F(TailOf, ALogAreItsLastLines) {
    EXPECT_EQ(Tail({}).out, std::string(kError) + "\n" + kWarning + "\n" + kInformation + "\n");
    EXPECT_EQ(Tail({"-n", "1"}).out, std::string(kInformation) + "\n");
    EXPECT_EQ(Tail({"-n", "0"}).out, "");
    EXPECT_EQ(Tail({"-n", "0"}).status, 0);
}

TEST_F(TailOf, ALogCountAnUnfinishedLineAmongThem) {
    Append("odd");
    EXPECT_EQ(Tail({"-n", "0"}).out, "");
    EXPECT_EQ(Tail({"-n", "1"}).out, "odd\n");
    EXPECT_EQ(Tail({"-n", "2"}).out, std::string(kInformation) + "\nodd\n");
}

TEST_F(TailOf, ACacheBehindALinkWaitForItsLog) {
    std::filesystem::remove(log_);
    std::filesystem::rename(root_ / "cache", root_ / "elsewhere");
    std::filesystem::create_directory_symlink(root_ / "elsewhere", root_ / "cache");
    EXPECT_EQ(Tail({}).status, 1);
    std::filesystem::remove(root_ / "elsewhere");
    EXPECT_EQ(Tail({}).status, 4);
}

TEST_F(TailOf, ALevelAreItsLinesAndTheGraverOnes) {
    EXPECT_EQ(Tail({"--level", "error"}).out, std::string(kError) + "\n");
    EXPECT_EQ(Tail({"--level", "warning"}).out, std::string(kError) + "\n" + kWarning + "\n");
    EXPECT_EQ(Tail({"--level", "warning", "-n1"}).out, std::string(kWarning) + "\n");
}

TEST_F(TailOf, LinesOfAnotherFormAreShownWithEveryLevelOnly) {
    Append("odd\n");
    EXPECT_EQ(Tail({"-n1"}).out, "odd\n");
    EXPECT_THAT(Tail({"--level", "error"}).out, Not(HasSubstr("odd")));
}

TEST_F(TailOf, HostileLinesAreEscaped) {
    Append("\x1b[2J\xff\n");
    EXPECT_EQ(Tail({"-n1"}).out, "\\x1B[2J\\xFF\n");
    EXPECT_EQ(Tail({"-n1", "--format", "json"}).Json()["items"][0]["text"], "\x1b[2J\\xFF");
}

TEST_F(TailOf, TheLogsOwnEscapesAreKept) {
    Append("C:\\new \\xFF\n");
    EXPECT_EQ(Tail({"-n1"}).out, "C:\\new \\xFF\n");
}

TEST_F(TailOf, ALogFollowTheSchema) {
    Append("odd\n");
    for (char const* const form : {"json", "jsonl"}) {
        ToolResult const result = Tail({"--format", form});
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(FollowsSchema(result.out, form)) << result.out;
    }
}

TEST_F(TailOf, ALogInJsonHaveTheirParts) {
    auto const rows = Tail({"--format", "json", "--level", "error"}).Json().at("items");
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["time"], "2026-01-31T12:00:00.000Z");
    EXPECT_EQ(rows[0]["level"], "error");
    EXPECT_EQ(rows[0]["source"], "../DLPCacheIndex.cpp");
    EXPECT_EQ(rows[0]["line"], 58);
    EXPECT_EQ(rows[0]["text"], "Find, Line:58, No exist file: /x");
}

TEST_F(TailOf, ALogInCsvHaveAHead) {
    EXPECT_EQ(Tail({"--format", "csv", "-n1"}).out,
              "time,level,source,line,text\n2026-01-31T12:00:02.000Z,information,../DLPCacheMgr.cpp,7,Init\n");
}

TEST_F(TailOf, ALogAreColouredOnATerminal) {
    tool_.environment["TERM"] = "xterm";
    EXPECT_EQ(
        tool_.RunOnTerminal({"tail", "--no-follow", "--root", root_.Path()}).out,
        std::string("\x1b[31m") + kError + "\x1b[0m\r\n\x1b[33m" + kWarning + "\x1b[0m\r\n" + kInformation + "\r\n");
}

TEST_F(TailOf, ALogThatIsMissingAreANo) {
    std::filesystem::remove(log_);
    ToolResult const result = Tail({});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "torvane: " + log_ + ": there is no log; is logging turned on?\n");
}

TEST_F(TailOf, ARootWithoutACacheAreRefused) {
    std::filesystem::remove_all(root_ / "cache");
    EXPECT_EQ(Tail({}).status, 0);  // the log alone may tell why
    std::filesystem::remove_all(root_ / "log");
    EXPECT_EQ(Tail({}).status, 4);
    EXPECT_EQ(tool_.Run({"tail", "--root", root_ / "missing"}).status, 4);
}

TEST_F(TailOf, WhatIsNoLogAreAFailure) {
    std::filesystem::remove(log_);
    std::filesystem::create_directory(log_);
    EXPECT_EQ(Tail({}).status, 3);
    EXPECT_EQ(Tail({}).err, "torvane: " + log_ + ": is no regular file\n");
}

TEST_F(TailOf, WrongOptionsAreMisuse) {
    EXPECT_EQ(Tail({"--level", "eror"}).status, 2);
    EXPECT_THAT(Tail({"--level", "eror"}).err, HasSubstr("did you mean 'error'?"));
    EXPECT_EQ(Tail({"-n", "x"}).status, 2);
    EXPECT_EQ(Tail({"-n", "-3"}).status, 2);
}

TEST_F(TailOf, ALogLeaveEverythingAsItWas) {
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(log_.c_str(), &before), 0);
    EXPECT_EQ(Tail({}).status, 0);
    ASSERT_EQ(::stat(log_.c_str(), &after), 0);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
    EXPECT_THAT(Files(root_ / "log"), testing::ElementsAre("DLPCache.log"));
    EXPECT_THAT(Files(root_ / "cache"), testing::IsEmpty());
}

// A program that follows the log while the test writes it.
class FollowingTail : public TailOf {
  protected:
    void Start(std::vector<std::string> words) {
        words.insert(words.begin(), {"tail", "--root", root_.Path()});
        child_ = tool_.Start(words, out_);
    }
    ~FollowingTail() override {
        if (out_ >= 0) (void)::close(out_);
        if (child_ > 0) (void)::kill(child_, SIGKILL), (void)Tool::Wait(child_);
    }

    // The next line that it shows.
    std::string Line() {
        std::string line;
        char byte = 0;
        while (::read(out_, &byte, 1) == 1 && byte != '\n')
            line += byte;
        return line;
    }

    // Lets it end; gives the rest of what it shows. Its status is in `status_`.
    std::string End(int signal) {
        (void)::kill(child_, signal);
        std::string rest = ReadAll(out_);
        status_ = Tool::Wait(child_);
        child_ = -1;
        return rest;
    }

    int out_ = -1;
    int status_ = -1;
    pid_t child_ = -1;
};

TEST_F(FollowingTail, ShowsWhatIsWrittenAndGoesOnAfterARotation) {
    Start({"-n1"});
    EXPECT_EQ(Line(), kInformation);
    Append(std::string(kError) + "\n");
    EXPECT_EQ(Line(), kError);
    std::filesystem::rename(log_, log_ + ".old");
    Append(std::string(kWarning) + "\n");
    EXPECT_EQ(Line(), kWarning);
    EXPECT_EQ(End(SIGTERM), "");
    EXPECT_EQ(status_, 0);
}

TEST_F(FollowingTail, PassesOverAnUnfinishedLineThatNobodyWants) {
    Append("beg");
    Start({"-n0"});
    EXPECT_EQ(End(SIGTERM), "");
}

TEST_F(FollowingTail, WaitsForALog) {
    std::filesystem::remove(log_);
    Start({});
    while (ReadBytes(root_ / "stderr").empty())
        std::this_thread::yield();
    Append(std::string(kError) + "\n");
    EXPECT_EQ(Line(), kError);
    EXPECT_EQ(End(SIGINT), "");
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(ReadBytes(root_ / "stderr"), "torvane: waiting for " + log_ + "\n");
}

TEST_F(FollowingTail, ClosesItsListWhenItIsInterrupted) {
    Start({"-n1", "--format", "json"});
    std::string document = Line();
    Append(std::string(kError) + "\n");
    document += Line();  // the first row, whose line ends with the beginning of the second
    document += End(SIGINT);
    EXPECT_EQ(status_, 0);
    EXPECT_TRUE(FollowsSchema(document, "json")) << document;
}

TEST_F(FollowingTail, EndsQuietlyWhenNobodyReadsAnyMore) {
    Start({"-n1"});
    EXPECT_EQ(Line(), kInformation);
    (void)::close(out_);
    out_ = -1;
    EXPECT_EQ(Tool::Wait(child_), 0);
    child_ = -1;
    EXPECT_EQ(ReadBytes(root_ / "stderr"), "");
}

}  // namespace
