#include "tools/torvane/output/Progress.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include "tools/torvane/output/Output.h"

namespace torvane {
namespace {

// A terminal in memory and a clock that stands still until it is put forward.
class ProgressLines : public testing::Test {
  protected:
    ~ProgressLines() override {
        (void)std::fclose(file_);
        std::free(buffer_);
    }

    std::unique_ptr<Progress> Begin(bool shown = true) {
        return std::make_unique<Progress>(shown, "Checking", file_, [this] { return now_; });
    }

    // Enough calls for one look at the clock.
    static void Work(Progress& progress, std::uint64_t done) {
        for (int i = 0; i < 256; ++i)
            progress.At(done, 200, "index");
    }

    std::string Shown() {
        (void)std::fflush(file_);
        return {buffer_, size_};
    }

    Progress::Clock::time_point now_{};

  private:
    char* buffer_ = nullptr;
    std::size_t size_ = 0;
    std::FILE* file_ = ::open_memstream(&buffer_, &size_);
};

TEST_F(ProgressLines, AreNotShownInTheFirstSecond) {
    auto const progress = Begin();
    now_ += std::chrono::milliseconds(999);
    Work(*progress, 10);
    EXPECT_EQ(Shown(), "");
}

TEST_F(ProgressLines, AreShownAfterASecondAndTakenAwayAtTheEnd) {
    auto progress = Begin();
    now_ += std::chrono::seconds(1);
    Work(*progress, 50);
    EXPECT_EQ(Shown(), "\rChecking  25 % index\x1b[K");
    progress.reset();
    EXPECT_EQ(Shown(), "\rChecking  25 % index\x1b[K\r\x1b[K");
}

TEST_F(ProgressLines, AreRewrittenAtMostTenTimesASecond) {
    auto const progress = Begin();
    now_ += std::chrono::seconds(1);
    Work(*progress, 50);
    now_ += std::chrono::milliseconds(99);
    Work(*progress, 60);
    EXPECT_EQ(Shown(), "\rChecking  25 % index\x1b[K");
    now_ += std::chrono::milliseconds(1);
    Work(*progress, 100);
    EXPECT_EQ(Shown(), "\rChecking  25 % index\x1b[K\rChecking  50 % index\x1b[K");
}

TEST_F(ProgressLines, AskForTheTimeAtEveryLargeStep) {
    auto const progress = Begin();
    progress->AtBlock(1, 4, "store");
    now_ += std::chrono::seconds(1);
    progress->AtBlock(2, 4, "store");
    EXPECT_EQ(Shown(), "\rChecking  50 % store\x1b[K");
}

TEST_F(ProgressLines, AreNotShownWithoutATerminal) {
    auto const progress = Begin(false);
    now_ += std::chrono::hours(1);
    Work(*progress, 50);
    EXPECT_EQ(Shown(), "");
}

TEST_F(ProgressLines, DoNotMixWithTheOutputOnATerminal) {
    auto const progress = Begin();
    now_ += std::chrono::seconds(1);
    Work(*progress, 50);
    int leader = -1;
    int follower = -1;
    ASSERT_EQ(::openpty(&leader, &follower, nullptr, nullptr, nullptr), 0);
    std::FILE* const file = ::fdopen(follower, "w");
    Output(Format::kTable, false, file).Line("found");
    EXPECT_THAT(Shown(), testing::EndsWith("\r\x1b[K"));
    (void)std::fclose(file);
    (void)::close(leader);
}

TEST_F(ProgressLines, StayWhereTheOutputGoesElsewhere) {
    auto const progress = Begin();
    now_ += std::chrono::seconds(1);
    Work(*progress, 50);
    std::FILE* const file = std::fopen("/dev/null", "we");
    Output(Format::kTable, false, file).Line("found");
    EXPECT_EQ(Shown(), "\rChecking  25 % index\x1b[K");
    (void)std::fclose(file);
}

TEST_F(ProgressLines, ShowHostileNamesEscapedAndShortened) {
    auto const progress = Begin();
    now_ += std::chrono::seconds(1);
    progress->At(7, 0, std::string(100, 'x') + "\x1b");
    EXPECT_EQ(Shown(), "\rChecking 7 ..." + std::string(36, 'x') + "\\x1B\x1b[K");
}

}  // namespace
}  // namespace torvane
