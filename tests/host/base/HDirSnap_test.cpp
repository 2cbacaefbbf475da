#include "host/base/HDirSnap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

struct HDirSnapTest : testing::Test {
    TempRoot root;
    HDirSnap snapshot;

    HDirSnapTest() {
        fs::create_directories(root / "b/sub/deep");
        fs::create_directories(root / "c");
        WriteBytes(root / "a", "");
        WriteBytes(root / "b/file", "");
        fs::create_symlink(root / "b", root / "link");
        snapshot.set_file(root.Path());
    }
    // The names below the root, directories with a separator behind them.
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (auto const& entry : snapshot.entries()) {
            std::string const path = entry.path.get_str();
            EXPECT_EQ(path.find(root.Path() + "/"), 0U);
            names.push_back(path.substr(root.Path().size() + 1) + (entry.is_dir ? "/" : ""));
        }
        return names;
    }
};

TEST_F(HDirSnapTest, ListsOneDirectorySorted) {
    ASSERT_TRUE(snapshot.snap());
    EXPECT_THAT(Names(), ElementsAre("a", "b/", "c/", "link"));
}

TEST_F(HDirSnapTest, RecursiveGoesIntoDirectoriesButNotThroughLinks) {
    snapshot.recursive = true;
    ASSERT_TRUE(snapshot.snap());
    EXPECT_THAT(Names(), ElementsAre("a", "b/", "b/file", "b/sub/", "b/sub/deep/", "c/", "link"));
}

TEST_F(HDirSnapTest, FilesAloneWhenDirectoriesAreNotWanted) {
    snapshot.recursive = true;
    snapshot.directories = false;
    ASSERT_TRUE(snapshot.snap());
    EXPECT_THAT(Names(), ElementsAre("a", "b/file", "link"));
}

TEST_F(HDirSnapTest, SeparatorAtTheEndOfTheDirectoryDoesNotMatter) {
    snapshot.set_file(root.Path() + "//");
    ASSERT_TRUE(snapshot.snap());
    EXPECT_THAT(Names(), ElementsAre("a", "b/", "c/", "link"));
}

TEST_F(HDirSnapTest, SnapshotReplacesTheOneBefore) {
    ASSERT_TRUE(snapshot.snap());
    snapshot.set_file(root / "b");
    ASSERT_TRUE(snapshot.snap());
    EXPECT_THAT(Names(), ElementsAre("b/file", "b/sub/"));
}

TEST_F(HDirSnapTest, MissingDirectoryIsEmpty) {
    ASSERT_TRUE(snapshot.snap());
    snapshot.set_file(root / "missing");
    EXPECT_TRUE(snapshot.snap());
    EXPECT_THAT(snapshot.entries(), IsEmpty());
}

TEST_F(HDirSnapTest, FileOrLinkOrNothingInTheDirectorysPlaceIsAFailure) {
    for (HString const& path : {HString(root / "a"), HString(root / "link"), HString(root / "link/"), HString()}) {
        snapshot.set_file(path);
        EXPECT_FALSE(snapshot.snap()) << path.get_str();
        EXPECT_THAT(snapshot.entries(), IsEmpty());
    }
}

TEST_F(HDirSnapTest, NamesThatAreNotUtf8ComeBackAsTheyAre) {
    WriteBytes(root / "c/\xFF name\n", "");
    snapshot.set_file(root / "c");
    ASSERT_TRUE(snapshot.snap());
    EXPECT_THAT(Names(), ElementsAre("c/\xFF name\n"));
}

}  // namespace
