#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <string>

#include "host/base/HFile.h"
#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;

struct HFileTimeTest : testing::Test {
    TempRoot root;
    std::string file = root / "file";
    std::string dir = root / "dir";
    std::string link = root / "link";
    HFileTime time{-7, -7};

    HFileTimeTest() {
        WriteBytes(file, "0123");
        fs::create_directory(dir);
    }
    static void SetModified(std::string const& path, long long seconds) {
        timespec const times[2] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
    }
    static struct stat StatusOf(std::string const& path) {
        struct stat status {};
        EXPECT_EQ(lstat(path.c_str(), &status), 0);
        return status;
    }
};

TEST_F(HFileTimeTest, ModificationIsWhatTheFileSays) {
    for (long long const seconds : {0LL, 1LL, 951782400LL, 4102444800LL}) {
        SetModified(file, seconds);
        EXPECT_EQ(HFile::get_file_time(file, time), 0);
        EXPECT_EQ(time.modification_time, seconds);
    }
}

TEST_F(HFileTimeTest, CreationDoesNotMoveWithTheModification) {
    auto const made = StatusOf(file).st_ctim.tv_sec;
    SetModified(file, 951782400);
    EXPECT_EQ(HFile::get_file_time(file, time), 0);
    EXPECT_LE(made, time.creation_time + 1);
    EXPECT_LE(time.creation_time, StatusOf(file).st_ctim.tv_sec);
}

TEST_F(HFileTimeTest, CreationComesFromTheFileSystem) {
    struct statx status {};
    ASSERT_EQ(statx(AT_FDCWD, file.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME, &status), 0);
    if ((status.stx_mask & STATX_BTIME) == 0) GTEST_SKIP() << "the file system keeps no creation time";
    EXPECT_EQ(HFile::get_file_time(file, time), 0);
    EXPECT_EQ(time.creation_time, status.stx_btime.tv_sec);
}

TEST_F(HFileTimeTest, WithoutACreationTimeTheChangeTimeStandsForIt) {
    std::string const path = "/proc/version";
    struct statx status {};
    ASSERT_EQ(statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status), 0);
    if ((status.stx_mask & STATX_BTIME) != 0) GTEST_SKIP() << "this system keeps creation times everywhere";
    EXPECT_EQ(HFile::get_file_time(path, time), 0);
    EXPECT_EQ(time.creation_time, StatusOf(path).st_ctim.tv_sec);
    EXPECT_NE(time.creation_time, 0);
}

TEST_F(HFileTimeTest, ALinkHasTimesOfItsOwn) {
    fs::create_symlink(dir, link);
    SetModified(dir, 1000);
    SetModified(link, 2000);
    for (auto const* const path : {"link", "link/"}) {
        EXPECT_EQ(HFile::get_file_time(root / path, time), 0);
        EXPECT_EQ(time.modification_time, 2000);
    }
}

TEST_F(HFileTimeTest, ADirectoryHasTimesToo) {
    SetModified(dir, 1000);
    EXPECT_EQ(HFile::get_file_time(dir + "/", time), 0);
    EXPECT_EQ(time.modification_time, 1000);
}

TEST_F(HFileTimeTest, WhatIsNotThereHasNone) {
    std::string const with_zero("a\0b", 3);
    struct Bad {
        HString path;
        int error;
    };
    for (Bad const& bad :
         {Bad{HString(root / "missing"), ENOENT}, Bad{HString(file + "/below"), ENOTDIR}, Bad{HString(), ENOENT},
          Bad{HString(with_zero), EINVAL}, Bad{HString(std::string(5000, 'x')), ENAMETOOLONG}}) {
        time = {-7, -7};
        EXPECT_EQ(HFile::get_file_time(bad.path, time), bad.error);
        EXPECT_EQ(time.creation_time, 0);
        EXPECT_EQ(time.modification_time, 0);
    }
}

TEST_F(HFileTimeTest, TouchMakesAnEmptyFileForItsOwner) {
    mode_t const before = umask(0777);
    EXPECT_EQ(HFile::touch(root / "new"), 0);
    umask(before);
    EXPECT_EQ(ReadBytes(root / "new"), "");
    EXPECT_EQ(StatusOf(root / "new").st_mode, S_IFREG | 0600U);
}

TEST_F(HFileTimeTest, TouchLeavesAFileThatExistsAlone) {
    SetModified(file, 1000);
    auto const before = StatusOf(file);
    EXPECT_EQ(HFile::touch(file), 0);
    auto const after = StatusOf(file);
    EXPECT_EQ(ReadBytes(file), "0123");
    EXPECT_EQ(after.st_mtim.tv_sec, 1000);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
    EXPECT_EQ(after.st_mode, before.st_mode);
}

TEST_F(HFileTimeTest, TouchNeverFollowsALink) {
    fs::create_symlink(root / "outside", link);
    EXPECT_EQ(HFile::touch(link), 0);
    EXPECT_FALSE(Exists(root / "outside"));
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(HFileTimeTest, TouchTellsWhatItCannotDo) {
    EXPECT_EQ(HFile::touch(dir), EISDIR);
    EXPECT_EQ(HFile::touch(dir + "/"), EISDIR);
    EXPECT_EQ(HFile::touch(root / "missing/file"), ENOENT);
    EXPECT_EQ(HFile::touch(file + "/below"), ENOTDIR);
    EXPECT_EQ(HFile::touch(""), ENOENT);
    EXPECT_EQ(HFile::touch(HString(std::string(5000, 'x'))), ENAMETOOLONG);
}

TEST_F(HFileTimeTest, DeletingAFileThatIsGoneIsSuccess) {
    EXPECT_EQ(HFile::delete_file2(file), 0);
    EXPECT_FALSE(Exists(file));
    EXPECT_EQ(HFile::delete_file2(file), 0);
    EXPECT_EQ(HFile::delete_file2(root / "missing/file"), 0);
}

TEST_F(HFileTimeTest, DeletingTellsWhatItCannotDo) {
    EXPECT_EQ(HFile::delete_file2(dir), EISDIR);
    EXPECT_TRUE(Exists(dir));
    EXPECT_EQ(HFile::delete_file2(HString(std::string(5000, 'x'))), ENAMETOOLONG);
}

TEST_F(HFileTimeTest, DeletingALinkLeavesItsTarget) {
    fs::create_symlink(file, link);
    EXPECT_EQ(HFile::delete_file2(link), 0);
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_EQ(ReadBytes(file), "0123");
}

}  // namespace
