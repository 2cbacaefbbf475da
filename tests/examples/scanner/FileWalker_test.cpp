#include "examples/scanner/FileWalker.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "tests/examples/scanner/TempTree.h"

namespace scanner {
namespace {

using testing::ElementsAre;

TEST(FileWalks, ListRegularFilesInByteOrder) {
    TempTree const tree;
    for (char const* name : {"b/2", "b/1", "b.txt", "a/deep/er/x", "B"})
        tree.Write(name, "");
    EXPECT_THAT(WalkFiles({tree.Path()}, "").files,
                ElementsAre(tree / "B", tree / "a/deep/er/x", tree / "b.txt", tree / "b/1", tree / "b/2"));
}

TEST(FileWalks, ListAFileOnceHoweverOftenItIsNamed) {
    TempTree const tree;
    std::string const file = tree.Write("d/x", "");
    EXPECT_THAT(WalkFiles({tree.Path(), tree / "d", file}, "").files, ElementsAre(file));
}

TEST(FileWalks, ListAFileOnceHoweverItsDirectoryIsNamed) {
    TempTree const tree;
    std::string const file = tree.Write("d/x", "");
    tree.Write("d/sub/y", "");
    std::filesystem::create_directory_symlink(tree / "d/sub", tree / "link");
    std::filesystem::current_path(tree.Path());
    EXPECT_THAT(WalkFiles(ResolvePaths({"d", "./d", "d/../d/", "link/..", "link/../x", tree / "link/y"}), "").files,
                ElementsAre(tree / "d/sub/y", file));
}

TEST(FileWalks, TakeNamesThatAreNotUtf8) {
    TempTree const tree;
    std::string const file = tree.Write("\xff\xfe name\n", "");
    EXPECT_THAT(WalkFiles({tree.Path()}, "").files, ElementsAre(file));
}

TEST(FileWalks, SkipLinksAndSpecialFiles) {
    TempTree const tree;
    std::string const file = tree.Write("d/x", "");
    std::filesystem::create_symlink(file, tree / "link");
    std::filesystem::create_directory_symlink(tree.Path(), tree / "d/up");
    ASSERT_EQ(::mkfifo((tree / "fifo").c_str(), 0600), 0);
    EXPECT_THAT(WalkFiles({tree.Path()}, "").files, ElementsAre(file));
}

TEST(FileWalks, FollowALinkThatTheCallerNames) {
    TempTree const tree;
    std::string const file = tree.Write("d/x", "");
    std::filesystem::create_directory_symlink(tree / "d", tree / "link");
    EXPECT_THAT(WalkFiles(ResolvePaths({tree / "link"}), "").files,
                ElementsAre(std::filesystem::canonical(file).string()));
}

TEST(FileWalks, LeaveOutTheExcludedDirectory) {
    TempTree const tree;
    std::string const file = tree.Write("x", "");
    tree.Write("root/cache/index", "");
    EXPECT_THAT(WalkFiles({tree.Path()}, tree / "root").files, ElementsAre(file));
}

TEST(FileWalks, TellOfStartsInTheExcludedDirectory) {
    TempTree const tree;
    std::string const file = tree.Write("x", "");
    std::string const inside = tree.Write("root/cache/index", "");
    WalkResult const result = WalkFiles({file, inside, tree / "root", tree / "root/cache"}, tree / "root");
    EXPECT_THAT(result.files, ElementsAre(file));
    ASSERT_EQ(result.errors.size(), 3U);
    for (WalkError const& error : result.errors)
        EXPECT_EQ(error.error, EPERM) << error.path;
}

TEST(FileWalks, TellOfAStartThatIsNeitherFileNorDirectory) {
    TempTree const tree;
    std::string const file = tree.Write("x", "");
    std::filesystem::create_symlink(file, tree / "link");
    ASSERT_EQ(::mkfifo((tree / "fifo").c_str(), 0600), 0);
    WalkResult const result = WalkFiles({tree / "link", tree / "fifo"}, "");
    EXPECT_THAT(result.files, testing::IsEmpty());
    ASSERT_EQ(result.errors.size(), 2U);
    EXPECT_EQ(result.errors[0].path, tree / "link");
    EXPECT_EQ(result.errors[0].error, ELOOP);
    EXPECT_EQ(result.errors[1].path, tree / "fifo");
    EXPECT_EQ(result.errors[1].error, EOPNOTSUPP);
}

TEST(FileWalks, RefuseANamedPathThatDoesNotExist) {
    TempTree const tree;
    EXPECT_THROW((void)ResolvePaths({tree.Path(), tree / "missing"}), std::runtime_error);
}

TEST(FileWalks, TellOfAStartThatIsGoneMeanwhile) {
    TempTree const tree;
    std::string const file = tree.Write("x", "");
    WalkResult const result = WalkFiles({tree / "missing", file}, "");
    EXPECT_THAT(result.files, ElementsAre(file));
    ASSERT_EQ(result.errors.size(), 1U);
    EXPECT_EQ(result.errors[0].path, tree / "missing");
    EXPECT_EQ(result.errors[0].error, ENOENT);
}

}  // namespace
}  // namespace scanner
