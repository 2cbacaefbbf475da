#include "tools/torvane/log/LogFollower.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "tests/support/TempRoot.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A log that a test writes to and the follower reads.
class LogFollowers : public testing::Test {
  protected:
    void Append(std::string const& text) const { std::ofstream(path_, std::ios::app | std::ios::binary) << text; }
    void Rotate() const { std::filesystem::rename(path_, path_ + ".old"); }

    LogFollower& Log() {
        if (!log_) log_.emplace(path_);
        return *log_;
    }

    std::vector<std::string> Lines() {
        std::vector<std::string> lines;
        Log().Read([&](std::string_view line) { lines.emplace_back(line); });
        return lines;
    }

    std::vector<std::string> Unfinished() {
        std::vector<std::string> lines;
        Log().ReadUnfinished([&](std::string_view line) { lines.emplace_back(line); });
        return lines;
    }

    static bool All(std::string_view) { return true; }

    TempRoot root_;
    std::string path_ = root_ / "DLPCache.log";
    std::optional<LogFollower> log_;
};

TEST_F(LogFollowers, ReadWhatIsNewSinceTheLastLook) {
    Append("1\n2\n");
    EXPECT_THAT(Lines(), ElementsAre("1", "2"));
    EXPECT_THAT(Lines(), IsEmpty());
    Append("3\n");
    EXPECT_THAT(Lines(), ElementsAre("3"));
}

TEST_F(LogFollowers, WaitForTheEndOfALine) {
    Append("1\nbeg");
    EXPECT_THAT(Lines(), ElementsAre("1"));
    Append("in\n");
    EXPECT_THAT(Lines(), ElementsAre("begin"));
    Append("rest");
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Unfinished(), ElementsAre("rest"));
    EXPECT_THAT(Unfinished(), IsEmpty());
}

TEST_F(LogFollowers, BeginWithTheLastLines) {
    Append("1\n2\n3\n4");
    Log().GoToLast(2, All);
    EXPECT_THAT(Lines(), ElementsAre("3"));
    EXPECT_THAT(Unfinished(), ElementsAre("4"));
}

TEST_F(LogFollowers, BeginWithTheLastLinesThatPass) {
    Append("a1\nb2\na3\nb4\n");
    Log().GoToLast(1, [](std::string_view line) { return line[0] == 'a'; });
    EXPECT_THAT(Lines(), ElementsAre("a3", "b4"));
}

TEST_F(LogFollowers, BeginAtTheEndOnDemand) {
    Append("1\n2\nbeg");
    Log().GoToLast(0, All);
    Append("in\n");
    EXPECT_THAT(Lines(), ElementsAre("begin"));
}

TEST_F(LogFollowers, PassOverAnUnfinishedLineThatIsNotWantedUntilItGrows) {
    Append("1\nbeg");
    Log().GoToLast(0, All);
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Unfinished(), IsEmpty());
    Append("in");
    Log().GoToLast(0, All);
    Append("!");
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(Unfinished(), ElementsAre("begin!"));
}

TEST_F(LogFollowers, BeginWithEverythingWhenThereAreFewerLines) {
    Append("1\n2\n");
    Log().GoToLast(10, All);
    EXPECT_THAT(Lines(), ElementsAre("1", "2"));
}

TEST_F(LogFollowers, GoOnWithTheNewFileAfterTheEndOfTheRenamedOne) {
    Append("1\n");
    EXPECT_THAT(Lines(), ElementsAre("1"));
    Append("2\nunfinished");
    Rotate();
    Append("3\n");
    EXPECT_THAT(Lines(), ElementsAre("2", "unfinished", "3"));
    Append("4\n");
    EXPECT_THAT(Lines(), ElementsAre("4"));
}

TEST_F(LogFollowers, StayWithTheRenamedFileUntilThereIsANewOne) {
    Append("1\n");
    EXPECT_THAT(Lines(), ElementsAre("1"));
    Rotate();
    EXPECT_THAT(Lines(), IsEmpty());
    std::ofstream(path_ + ".old", std::ios::app) << "2\n";
    EXPECT_THAT(Lines(), ElementsAre("2"));
    Append("3\n");
    EXPECT_THAT(Lines(), ElementsAre("3"));
}

TEST_F(LogFollowers, WaitForAFileThatIsMissing) {
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_FALSE(Log().IsOpen());
    Append("1\n");
    EXPECT_THAT(Lines(), ElementsAre("1"));
    EXPECT_TRUE(Log().IsOpen());
}

TEST_F(LogFollowers, BeginAnewWithAFileThatWasCut) {
    Append("1\n2\n");
    EXPECT_THAT(Lines(), ElementsAre("1", "2"));
    std::filesystem::resize_file(path_, 0);
    Append("3\n");
    EXPECT_THAT(Lines(), ElementsAre("3"));
}

TEST_F(LogFollowers, CutLinesThatAreTooLong) {
    Append(std::string(LogFollower::kMostLine + 70000, 'x') + "\n2\n");
    auto const lines = Lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0], std::string(LogFollower::kMostLine, 'x'));
    EXPECT_EQ(lines[1], "2");
}

TEST_F(LogFollowers, RefuseWhatIsNoRegularFile) {
    WriteBytes(root_ / "elsewhere", "secret\n");
    std::filesystem::create_symlink(root_ / "elsewhere", path_);
    EXPECT_THROW(Log(), Stop);
    std::filesystem::remove(path_);
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    EXPECT_THROW(Log(), Stop);
}

}  // namespace
}  // namespace torvane
