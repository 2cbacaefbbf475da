// Replacing files whose names leave no room for that of a temporary file.
#include <cerrno>
#include <filesystem>

#include "host/base/HFile.h"
#include "tests/support/OnAllThreads.h"
#include "tests/support/TempRoot.h"

namespace {

class HFileLongNameTest : public testing::Test {
  protected:
    int Replace(std::string const& name, std::string const& content) const {
        return HFile::replace_file(HString(root_ / name), content.data(), content.size());
    }
    TempRoot root_;
};

TEST_F(HFileLongNameTest, EveryNameThatCanBeAFilesIsReplaced) {
    for (std::size_t length = 235; length <= 255; ++length) {
        SCOPED_TRACE(length);
        std::string const name(length, 'n');
        EXPECT_EQ(Replace(name, "old"), 0);
        EXPECT_EQ(Replace(name, "new"), 0);
        EXPECT_EQ(ReadBytes(root_ / name), "new");
    }
    EXPECT_EQ(Files(root_.Path()).size(), 21U);
}

TEST_F(HFileLongNameTest, LongerNameIsRefusedAndLeavesNothing) {
    EXPECT_EQ(Replace(std::string(256, 'n'), "new"), ENAMETOOLONG);
    EXPECT_TRUE(Files(root_.Path()).empty());
}

TEST_F(HFileLongNameTest, PathWithoutRoomForATemporaryFileIsRefused) {
    std::string directory;
    while (root_.Path().size() + directory.size() < 3800)
        directory += std::string(100, 'd') + "/";
    std::filesystem::create_directories(root_ / directory);
    std::string const name = directory + std::string(4095 - (root_ / directory).size(), 'n');
    ASSERT_EQ((root_ / name).size(), 4095U);
    EXPECT_EQ(Replace(name, "new"), ENAMETOOLONG);
    EXPECT_TRUE(Files(root_ / directory).empty());
}

TEST_F(HFileLongNameTest, NamesThatDifferAtTheirEndAreReplacedSideBySide) {
    std::string const name(254, 'n');
    OnAllThreads(4, [&](int thread) {
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(Replace(name + std::to_string(thread), std::to_string(thread)), 0);
    });
    EXPECT_EQ(Files(root_.Path()).size(), 4U);
    EXPECT_EQ(ReadBytes(root_ / (name + "3")), "3");
}

}  // namespace
