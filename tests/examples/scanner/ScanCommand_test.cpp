#include "examples/scanner/ScanCommand.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <stdexcept>

#include "tests/examples/scanner/PolicyRoot.h"

namespace scanner {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;
using namespace std::chrono_literals;

class ScanCommands : public testing::Test {
  protected:
    ScanCommands() {
        options_.paths = {tree_ / "docs"};
        options_.root = tree_ / "root";
        options_.task = "job";
        options_.most_file_bytes = 100;
    }

    PolicyRoot root_;
    TempTree const& tree_ = root_.tree();
    Options options_;
};

TEST_F(ScanCommands, PrintSummaryAndTroublesBeforeTheErrorWhenFindingsCannotBeWritten) {
    NotSound();
    tree_.Write("docs/large.txt", std::string(101, 'x'));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunScan(options_), kNothingFound);
    (void)testing::internal::GetCapturedStdout();
    (void)testing::internal::GetCapturedStderr();
    std::filesystem::create_directory(tree_ / "root/cache/task/job/cache");  // where the findings' file should be
    tree_.Write("docs/mails.txt", "a@example.com b@example.com c@example.com d@example.com e@example.com");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_THAT([&] { (void)RunScan(options_, 1ms); },
                ThrowsMessage<std::runtime_error>(HasSubstr("findings of the task job are not written after 1 ms")));
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                AllOf(HasSubstr("sensitive files         1\n"), HasSubstr("digest ")));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("docs/large.txt: skipped, larger than "));
}

}  // namespace
}  // namespace scanner
