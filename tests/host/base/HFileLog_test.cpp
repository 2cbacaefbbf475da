#include "host/base/HFileLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "host/base/Global.h"
#include "host/base/HFile.h"
#include "host/base/LocateMgr.h"
#include "tests/support/OnAllThreads.h"
#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

constexpr std::size_t kFull = 16 * 1024 * 1024;

struct HFileLogTest : testing::Test {
    TempRoot root;
    HFileLog log;
    std::string path = root / "log/test.log";

    HFileLogTest() {
        Varnok::Global::pins()->logging = 1;
        log.set_check_mark_file(false);
        log.set_name("test");
    }
    ~HFileLogTest() override { Varnok::Global::pins()->logging = 0; }

    void Write(std::string const& text, int line = 58) {
        log.log(HFileLog::ins()->get(1, L"../DLPCacheIndex.cpp", line) << HString(text));
    }
    [[nodiscard]] static std::vector<std::string> LinesOf(std::string const& file) {
        std::vector<std::string> lines;
        std::istringstream content(ReadBytes(file));
        for (std::string line; std::getline(content, line);)
            lines.push_back(line);
        return lines;
    }
    // Fills the log up to `size` bytes, with lines so that it stays a log.
    void FillTo(std::size_t size) const {
        std::string filling(size, '.');
        for (std::size_t i = 99; i < size; i += 100)
            filling[i] = '\n';
        filling.back() = '\n';
        WriteBytes(path, filling);
    }
};

TEST_F(HFileLogTest, LineHasTimeLevelSourceAndLine) {
    log.log(HFileLog::ins()->get(2, L"../DLPCacheText.cpp", 156) << "conflict" << 7);
    EXPECT_THAT(ReadBytes(path), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z 2 "
                                              "\\.\\./DLPCacheText\\.cpp:156 conflict7\n"));
}

TEST_F(HFileLogTest, FirstLineMakesDirectoryAndFileForTheOwnerOnly) {
    mode_t const before = umask(0);
    Write("x");
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(stat((root / "log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST_F(HFileLogTest, NothingIsMadeWhileLoggingIsOff) {
    Varnok::Global::pins()->logging = 0;
    Write("x");
    EXPECT_FALSE(HFileLog::ins()->get(1, L"x", 1).active);
    EXPECT_FALSE(Exists(root / "log"));
}

TEST_F(HFileLogTest, LoggerWithoutANameWritesNothing) {
    HFileLog nameless;
    nameless.set_check_mark_file(false);
    nameless.log(HFileLog::ins()->get(1, L"x", 1) << "x");
    nameless.set_name("../outside");
    nameless.log(HFileLog::ins()->get(1, L"x", 1) << "x");
    EXPECT_FALSE(Exists(root / "log"));
    EXPECT_FALSE(Exists(root / "outside.log"));
}

TEST_F(HFileLogTest, NameIsGivenThroughTheFreeFunctionToo) {
    Varnok::SetLogFileName(&log, "other");
    Varnok::SetLogFileName(nullptr, "other");
    Write("x");
    EXPECT_TRUE(Exists(root / "log/other.log"));
}

TEST_F(HFileLogTest, MarkFileDecidesWhileItIsChecked) {
    fs::create_directory(root / "log");
    log.set_check_mark_file(true);
    Write("unmarked");
    EXPECT_FALSE(Exists(path));
    WriteBytes(root / "log/test.mark", "");
    Write("marked");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" marked")));
}

TEST_F(HFileLogTest, MarkFileIsCheckedAtFirst) {
    HFileLog fresh;
    fresh.set_name("fresh");
    fresh.log(HFileLog::ins()->get(1, L"x", 1) << "x");
    EXPECT_FALSE(Exists(root / "log"));
}

TEST_F(HFileLogTest, TextCannotBreakOutOfItsLine) {
    Write("a\nb\rc\td");
    Write("\x1B[31m\x07\x7F");
    Write(
        "\xC2\x9B"
        "m \xC2\x80\xC2\xA0");
    Write("\xFF\xC3 \xED\xA0\x80");
    Write(std::string("nul\0end", 7));
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(":58 a\\nb\\rc\\td"), EndsWith(":58 \\x1B[31m\\x07\\x7F"),
                                           EndsWith(":58 \\xC2\\x9Bm \\xC2\\x80\xC2\xA0"),
                                           EndsWith(":58 \\xFF\\xC3 \\xED\\xA0\\x80"), EndsWith(":58 nul\\x00end")));
}

TEST_F(HFileLogTest, OrdinaryTextStaysAsItIs) {
    Write("\xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80 \\ \" ~");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(":58 \xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80 \\ \" ~")));
}

TEST_F(HFileLogTest, FollowsTheRootDirectory) {
    Write("here");
    {
        TempRoot other;
        Write("there");
        EXPECT_THAT(LinesOf(other / "log/test.log"), ElementsAre(EndsWith(" there")));
    }
    Varnok::LocateMgr::pins()->set_root(root.Path());
    Write("here again");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" here"), EndsWith(" here again")));
}

TEST_F(HFileLogTest, LogThatWasRemovedOrMovedIsBegunAnew) {
    Write("first");
    fs::remove_all(root / "log");
    Write("second");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" second")));
    fs::rename(path, root / "log/moved");
    Write("third");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" third")));
}

TEST_F(HFileLogTest, FullFileIsRenamedAndBegunAnew) {
    Write("first");
    FillTo(kFull - 10);
    Write("second");
    EXPECT_EQ(fs::file_size(path + ".old"), kFull - 10);
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" second")));
}

TEST_F(HFileLogTest, FileIsFilledToTheLimitAndNoFurther) {
    Write("x");
    std::size_t const line = fs::file_size(path);
    FillTo(kFull - line);
    Write("x");
    EXPECT_EQ(fs::file_size(path), kFull);
    EXPECT_FALSE(Exists(path + ".old"));
    Write("x");
    EXPECT_EQ(fs::file_size(path + ".old"), kFull);
    EXPECT_EQ(fs::file_size(path), line);
}

TEST_F(HFileLogTest, OnlyOneOldFileIsKept) {
    fs::create_directory(root / "log");
    WriteBytes(path + ".old", "older\n");
    FillTo(kFull);
    Write("x");
    EXPECT_EQ(fs::file_size(path + ".old"), kFull);
    EXPECT_EQ(std::distance(fs::directory_iterator(root / "log"), {}), 2);
}

TEST_F(HFileLogTest, LineLargerThanAFileIsWrittenWhole) {
    Write(std::string(kFull + 1, 'x'));
    EXPECT_GT(fs::file_size(path), kFull);
    EXPECT_THAT(LinesOf(path).size(), 1U);
}

TEST_F(HFileLogTest, LineThatHasNowhereToGoIsLost) {
    WriteBytes(root / "log", "a file in the directory's place");
    Write("x");
    EXPECT_EQ(ReadBytes(root / "log"), "a file in the directory's place");
}

TEST_F(HFileLogTest, LinkOrFifoInTheFilesPlaceIsNotWritten) {
    fs::create_directory(root / "log");
    WriteBytes(root / "target", "");
    fs::create_symlink(root / "target", path);
    Write("x");
    EXPECT_EQ(ReadBytes(root / "target"), "");
    fs::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    Write("x");
    fs::remove(path);
    Write("y");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" y")));
}

TEST_F(HFileLogTest, DescriptorThatWasClosedAndGivenToAnotherFileIsNotWritten) {
    int const next = dup(0);
    close(next);
    Write("first");
    close(next);  // as a program does that closes all it does not know
    fs::path const other = root / "other";
    WriteBytes(other, "");
    FILE* const mine = std::fopen(other.c_str(), "w");
    ASSERT_EQ(fileno(mine), next);
    Write("second");
    EXPECT_EQ(ReadBytes(other), "");
    EXPECT_THAT(LinesOf(path), ElementsAre(EndsWith(" first"), EndsWith(" second")));
}

TEST_F(HFileLogTest, ThreadsWriteWholeLines) {
    std::string const text(300, 'x');
    OnAllThreads(8, [&](int thread) {
        for (int i = 0; i < 250; ++i)
            Write(text, thread);
    });
    auto const lines = LinesOf(path);
    EXPECT_EQ(lines.size(), 2000U);
    for (std::string const& line : lines)
        ASSERT_THAT(line, MatchesRegex(".{24} 1 ../DLPCacheIndex.cpp:[0-7] x{300}"));
}

TEST_F(HFileLogTest, ProcessesThatShareAFullFileLoseNoLine) {
    Write("x");
    FillTo(kFull - 20000);
    std::vector<pid_t> children;
    for (int child = 0; child < 4; ++child) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        for (int i = 0; i < 200; ++i)
            Write("of a child", 99);
        _exit(0);
    }
    for (pid_t const child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }
    auto lines = LinesOf(path);
    auto const old = LinesOf(path + ".old");
    lines.insert(lines.end(), old.begin(), old.end());
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(),
                            [](std::string const& line) { return line.ends_with(":99 of a child"); }),
              800);
}

}  // namespace
