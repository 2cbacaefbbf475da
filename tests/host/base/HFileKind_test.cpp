// What stands under a path.
#include <filesystem>

#include "host/base/HFile.h"
#include "tests/support/NoFile.h"
#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;

class HFileKindTest : public testing::Test {
  protected:
    bool IsOtherThanFile(std::string const& name) const { return HFile::IsOtherThanFile(HString(root_ / name)); }
    bool IsOtherThanDir(std::string const& name) const { return HFile::IsOtherThanDir(HString(root_ / name)); }
    TempRoot root_;
};

TEST_F(HFileKindTest, FileIsOtherThanADirectory) {
    WriteBytes(root_ / "file", "");
    EXPECT_FALSE(IsOtherThanFile("file"));
    EXPECT_TRUE(IsOtherThanDir("file"));
}

TEST_F(HFileKindTest, DirectoryIsOtherThanAFile) {
    fs::create_directory(root_ / "directory");
    EXPECT_TRUE(IsOtherThanFile("directory"));
    EXPECT_FALSE(IsOtherThanDir("directory"));
    EXPECT_FALSE(IsOtherThanDir("directory/"));
}

TEST_F(HFileKindTest, LinkIsOtherThanWhatItNames) {
    WriteBytes(root_ / "file", "");
    fs::create_directory(root_ / "directory");
    for (char const* target : {"file", "directory", "missing"}) {
        PutNoFile("link", root_ / "link", root_ / target);
        EXPECT_TRUE(IsOtherThanFile("link")) << target;
        EXPECT_TRUE(IsOtherThanDir("link")) << target;
        EXPECT_TRUE(IsOtherThanDir("link/")) << target;
    }
}

TEST_F(HFileKindTest, FifoIsOtherThanBoth) {
    PutNoFile("FIFO", root_ / "fifo", "");
    EXPECT_TRUE(IsOtherThanFile("fifo"));
    EXPECT_TRUE(IsOtherThanDir("fifo"));
}

TEST_F(HFileKindTest, WhatIsMissingOrCannotBeLookedAtIsNotKnownToBeOther) {
    WriteBytes(root_ / "file", "");
    for (std::string const& name : {std::string("missing"), std::string("file/below"), std::string(300, 'n'),
                                    std::string(5000, 'n'), std::string("a\0b", 3)}) {
        EXPECT_FALSE(IsOtherThanFile(name));
        EXPECT_FALSE(IsOtherThanDir(name));
    }
}

}  // namespace
