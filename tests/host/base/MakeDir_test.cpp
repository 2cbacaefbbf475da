#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/base/HFile.h"
#include "tests/support/OnAllThreads.h"
#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;

mode_t ModeOf(std::string const& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

TEST(MakeDir, MakesMissingParents) {
    TempRoot root;
    EXPECT_TRUE(Varnok::MakeDir(root / "a/b//c/"));
    EXPECT_TRUE(fs::is_directory(root / "a/b/c"));
    EXPECT_TRUE(Varnok::MakeDir(root / "a/b/c")) << "it exists";
}

TEST(MakeDir, RightsAreTheOwnersWhateverTheUmask) {
    TempRoot root;
    for (mode_t const mask : {0000U, 0022U, 0277U, 0777U}) {
        std::string const dir = root / std::to_string(mask);
        mode_t const before = umask(mask);
        EXPECT_TRUE(Varnok::MakeDir(dir + "/sub"));
        umask(before);
        EXPECT_EQ(ModeOf(dir), 0700U) << std::oct << mask;
        EXPECT_EQ(ModeOf(dir + "/sub"), 0700U) << std::oct << mask;
    }
}

TEST(MakeDir, RightsOfADirectoryThatExistsStay) {
    TempRoot root;
    fs::create_directory(root / "dir");
    ASSERT_EQ(chmod((root / "dir").c_str(), 0755), 0);
    EXPECT_TRUE(Varnok::MakeDir(root / "dir/sub"));
    EXPECT_EQ(ModeOf(root / "dir"), 0755U);
}

TEST(MakeDir, FileInTheWayIsFailure) {
    TempRoot root;
    WriteBytes(root / "file", "");
    EXPECT_FALSE(Varnok::MakeDir(root / "file"));
    EXPECT_FALSE(Varnok::MakeDir(root / "file/sub"));
    EXPECT_FALSE(Varnok::MakeDir(""));
}

TEST(MakeDir, LinkedParentIsUsedButALinkIsNotTheDirectory) {
    TempRoot root;
    fs::create_directory(root / "dir");
    fs::create_symlink(root / "dir", root / "link");
    EXPECT_TRUE(Varnok::MakeDir(root / "link/sub"));
    EXPECT_TRUE(fs::is_directory(root / "dir/sub"));
    EXPECT_FALSE(Varnok::MakeDir(root / "link"));
    EXPECT_FALSE(Varnok::MakeDir(root / "link/"));
}

TEST(MakeDir, ThreadsThatMakeTheSamePathAllSucceed) {
    TempRoot root;
    for (int round = 0; round < 50; ++round) {
        std::string const dir = root / (std::to_string(round) + "/b/c/d");
        auto const made = AskOnAllThreads(8, [&dir] { return static_cast<char>(Varnok::MakeDir(dir) ? 1 : 0); });
        EXPECT_EQ(made, std::vector<char>(8, 1));
    }
}

}  // namespace
