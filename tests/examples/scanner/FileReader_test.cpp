#include "examples/scanner/FileReader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "tests/examples/scanner/TempTree.h"

namespace scanner {
namespace {

TEST(FileReading, GivesWholeFilesOfAnySize) {
    TempTree const tree;
    FileReader reader(10000000);
    for (std::size_t const size : std::initializer_list<std::size_t>{0, 1, 262143, 262144, 262145, 3000000, 5}) {
        std::string const content(size, 'x');
        ASSERT_EQ(reader.Read(tree.Write("file", content)), ReadStatus::kRead);
        EXPECT_EQ(reader.content(), content);
    }
}

TEST(FileReading, ReadsFilesWhoseSizeIsNotTold) {
    FileReader reader(10000000);
    ASSERT_EQ(reader.Read("/proc/self/status"), ReadStatus::kRead);
    EXPECT_TRUE(reader.content().starts_with("Name:"));
}

TEST(FileReading, SkipsFilesAboveTheLimit) {
    TempTree const tree;
    FileReader reader(100);
    EXPECT_EQ(reader.Read(tree.Write("fits", std::string(100, 'x'))), ReadStatus::kRead);
    EXPECT_EQ(reader.Read(tree.Write("large", std::string(101, 'x'))), ReadStatus::kTooLarge);
}

TEST(FileReading, TellsWhyAFileCannotBeRead) {
    TempTree const tree;
    FileReader reader(100);
    EXPECT_EQ(reader.Read(tree / "vanished"), ReadStatus::kFailed);
    EXPECT_EQ(reader.error(), ENOENT);
}

TEST(FileReading, FollowsNoLinkAndWaitsForNoFifo) {
    TempTree const tree;
    std::filesystem::create_symlink(tree.Write("file", "x"), tree / "link");
    ASSERT_EQ(::mkfifo((tree / "fifo").c_str(), 0600), 0);
    FileReader reader(100);
    EXPECT_EQ(reader.Read(tree / "link"), ReadStatus::kFailed);
    EXPECT_EQ(reader.error(), ELOOP);
    EXPECT_EQ(reader.Read(tree / "fifo"), ReadStatus::kNotRegular);
    EXPECT_EQ(reader.Read(tree.Path()), ReadStatus::kNotRegular);
}

}  // namespace
}  // namespace scanner
