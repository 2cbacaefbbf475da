#include "host/base/HFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

struct HFileTest : testing::Test {
    TempRoot root;
    std::string file = root / "file";
    std::string dir = root / "dir";
    std::string link = root / "link";

    HFileTest() {
        WriteBytes(file, "0123");
        fs::create_directory(dir);
    }
    void LinkTo(std::string const& target) { fs::create_symlink(target, link); }
};

TEST_F(HFileTest, ExistenceTellsFilesFromDirectories) {
    EXPECT_TRUE(HFile::IsFileExistFile(file));
    EXPECT_FALSE(HFile::IsFileExistFile(dir));
    EXPECT_FALSE(HFile::IsFileExistFile(root / "missing"));
    EXPECT_TRUE(HFile::IsFileExistDir(dir));
    EXPECT_TRUE(HFile::IsFileExistDir(dir + "/"));
    EXPECT_FALSE(HFile::IsFileExistDir(file));
    EXPECT_FALSE(HFile::IsFileExistDir(root / "missing"));
}

TEST_F(HFileTest, WhatLiesBelowAFileIsMissing) {
    EXPECT_FALSE(HFile::IsFileExistFile(file + "/x"));
    EXPECT_FALSE(HFile::IsFileExistDir(file + "/x"));
}

TEST_F(HFileTest, NamelessPathIsMissing) {
    EXPECT_FALSE(HFile::IsFileExistFile(""));
    EXPECT_FALSE(HFile::IsFileExistDir(""));
}

TEST_F(HFileTest, PathThatNoCallTakesIsNotKnownToBeMissing) {
    HString const zero(std::string_view("/\0", 2));
    EXPECT_TRUE(HFile::IsFileExistFile(zero));
    EXPECT_TRUE(HFile::IsFileExistDir(zero));
    EXPECT_EQ(HFile::GetFileLen(zero), -1);
    EXPECT_EQ(HFile::delete_file(zero), EINVAL);
    EXPECT_EQ(HFile::delete_dir_recur(zero), EINVAL);
    EXPECT_FALSE(Varnok::MakeDir(zero));
}

TEST_F(HFileTest, LinkIsAFileWhateverItNames) {
    LinkTo(dir);
    EXPECT_TRUE(HFile::IsFileExistFile(link));
    EXPECT_FALSE(HFile::IsFileExistDir(link));
    EXPECT_FALSE(HFile::IsFileExistDir(link + "/"));
    EXPECT_FALSE(HFile::IsDirEmpty(link));
    EXPECT_FALSE(HFile::IsDirEmpty(link + "/"));
}

TEST_F(HFileTest, DirectoryIsEmptyOnlyWhenReadAndFoundSo) {
    EXPECT_TRUE(HFile::IsDirEmpty(dir));
    EXPECT_FALSE(HFile::IsDirEmpty(root.Path()));
    EXPECT_FALSE(HFile::IsDirEmpty(root / "missing"));
    EXPECT_FALSE(HFile::IsDirEmpty(file));
    WriteBytes(dir + "/.hidden", "");
    EXPECT_FALSE(HFile::IsDirEmpty(dir));
}

TEST_F(HFileTest, LengthIsOfRegularFilesOnly) {
    LinkTo(file);
    EXPECT_EQ(HFile::GetFileLen(file), 4);
    EXPECT_EQ(HFile::GetFileLen(dir), -1);
    EXPECT_EQ(HFile::GetFileLen(link), -1);
    EXPECT_EQ(HFile::GetFileLen(root / "missing"), -1);
}

TEST_F(HFileTest, DeleteFileRemovesFilesAndLinksOnly) {
    LinkTo(file);
    EXPECT_EQ(HFile::delete_file(link), 0);
    EXPECT_EQ(HFile::delete_file(dir), EISDIR);
    EXPECT_EQ(HFile::delete_file(file), 0);
    EXPECT_EQ(HFile::delete_file(file), ENOENT);
    EXPECT_THAT(Files(root.Path()), ElementsAre("dir"));
}

TEST_F(HFileTest, OnlyEmptyDirectoriesAreDeletedAsSuch) {
    WriteBytes(dir + "/x", "");
    EXPECT_EQ(HFile::del_empty_dir(dir), ENOTEMPTY);
    EXPECT_EQ(HFile::delete_file(dir + "/x"), 0);
    EXPECT_EQ(HFile::del_empty_dir(dir), 0);
    EXPECT_EQ(HFile::del_empty_dir(file), ENOTDIR);
}

TEST_F(HFileTest, ReadsWholeFilesUpToTheLimit) {
    std::string content = "before";
    EXPECT_EQ(HFile::read_file(file, content, 4), 0);
    EXPECT_EQ(content, "0123");
    EXPECT_EQ(HFile::read_file(file, content, 3), EFBIG);
    EXPECT_EQ(content, "");
    EXPECT_EQ(HFile::read_file(root / "missing", content, 4), ENOENT);
}

TEST_F(HFileTest, ReadsEmptyAndLargeFiles) {
    std::string const large(300000, 'x');
    std::string content;
    WriteBytes(file, "");
    EXPECT_EQ(HFile::read_file(file, content, 0), 0);
    EXPECT_EQ(content, "");
    WriteBytes(file, large);
    EXPECT_EQ(HFile::read_file(file, content, 1 << 20), 0);
    EXPECT_EQ(content, large);
}

TEST_F(HFileTest, ReadsFilesWhoseSizeIsNotKnownBefore) {
    std::string content;
    EXPECT_EQ(HFile::read_file("/proc/self/status", content, 1 << 20), 0);
    EXPECT_THAT(content, testing::StartsWith("Name:"));
    EXPECT_EQ(HFile::read_file("/proc/self/status", content, 10), EFBIG);
}

TEST_F(HFileTest, ReadsRegularFilesOnly) {
    std::string content;
    LinkTo(file);
    ASSERT_EQ(mkfifo((root / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(HFile::read_file(dir, content, 100), EISDIR);
    EXPECT_EQ(HFile::read_file(link, content, 100), ELOOP);
    EXPECT_EQ(HFile::read_file(root / "fifo", content, 100), EINVAL);
    EXPECT_EQ(HFile::read_file("/dev/zero", content, 100), EINVAL);
}

TEST_F(HFileTest, ReplaceLeavesTheNewContentAndNothingElse) {
    EXPECT_EQ(HFile::replace_file(file, "new", 3), 0);
    EXPECT_EQ(HFile::replace_file(root / "fresh", "", 0), 0);
    EXPECT_EQ(ReadBytes(file), "new");
    EXPECT_THAT(Files(root.Path()), ElementsAre("dir", "file", "fresh"));
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(HFileTest, ReplaceWorksWhateverTheUmask) {
    mode_t const before = umask(0777);
    EXPECT_EQ(HFile::replace_file(file, "new", 3), 0);
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(HFileTest, ReplaceReplacesALinkItself) {
    LinkTo(file);
    EXPECT_EQ(HFile::replace_file(link, "new", 3), 0);
    EXPECT_EQ(ReadBytes(file), "0123");
    EXPECT_FALSE(fs::is_symlink(link));
}

TEST_F(HFileTest, ReplaceThatFailsLeavesNothingBehind) {
    EXPECT_EQ(HFile::replace_file(dir, "new", 3), EISDIR);
    EXPECT_EQ(HFile::replace_file(root / "missing/file", "new", 3), ENOENT);
    EXPECT_EQ(HFile::replace_file("", "new", 3), ENOENT);
    EXPECT_THAT(Files(root.Path()), ElementsAre("dir", "file"));
}

TEST_F(HFileTest, RenameReplacesTheTarget) {
    WriteBytes(root / "new", "abc");
    EXPECT_EQ(HFile::rename_file(root / "new", file), 0);
    EXPECT_EQ(ReadBytes(file), "abc");
    EXPECT_EQ(HFile::rename_file(root / "missing", file), ENOENT);
}

}  // namespace
