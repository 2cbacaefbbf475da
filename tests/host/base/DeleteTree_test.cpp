#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "host/base/HFile.h"
#include "tests/support/TempRoot.h"

namespace {

namespace fs = std::filesystem;

struct DeleteTreeTest : testing::Test {
    TempRoot root;
    std::string dir = root / "dir";

    // A chain of directories deeper than any path can name, with a file in each tenth.
    void MakeDeep(int levels) const {
        ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);
        int at = open(dir.c_str(), O_RDONLY | O_DIRECTORY);
        for (int level = 0; level < levels; ++level) {
            ASSERT_EQ(mkdirat(at, "sub", 0700), 0);
            int const next = openat(at, "sub", O_RDONLY | O_DIRECTORY);
            close(at);
            at = next;
            if (level % 10 == 0) close(openat(at, "file", O_WRONLY | O_CREAT, 0600));
        }
        close(at);
    }

    static void* Delete(void* path) {
        static int result;
        result = HFile::delete_dir_recur(*static_cast<std::string const*>(path));
        return &result;
    }
    // Deletes `dir` with few descriptors and on a stack on which a call per level would not fit.
    [[nodiscard]] int DeleteWithLittle() {
        rlimit before{};
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
        rlimit few = before;
        few.rlim_cur = 32;
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, 256 * 1024);
        pthread_t thread{};
        EXPECT_EQ(pthread_create(&thread, &attributes, &Delete, &dir), 0);
        void* result = nullptr;
        EXPECT_EQ(pthread_join(thread, &result), 0);
        pthread_attr_destroy(&attributes);
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
        return *static_cast<int*>(result);
    }
};

TEST_F(DeleteTreeTest, RemovesEverythingBelow) {
    fs::create_directories(dir + "/a/b/c");
    fs::create_directories(dir + "/a/d");
    fs::create_directories(dir + "/.hidden");
    for (char const* name : {"/1", "/a/2", "/a/b/c/3", "/.hidden/.4", "/a/d/..5"})
        WriteBytes(dir + name, "x");
    EXPECT_EQ(HFile::delete_dir_recur(dir + "/"), 0);
    EXPECT_FALSE(Exists(dir));
    EXPECT_TRUE(Exists(root.Path()));
}

TEST_F(DeleteTreeTest, MissingDirectoryIsSuccess) {
    EXPECT_EQ(HFile::delete_dir_recur(root / "missing"), 0);
    EXPECT_EQ(HFile::delete_dir_recur(root / "missing/below"), 0);
}

TEST_F(DeleteTreeTest, RefusesWhatNamesNoDirectoryOfOurs) {
    for (char const* path :
         {"", "/", "//", "///", ".", "..", "/.", "/..", "./", "../", "/..//", "/tmp/.", "/tmp/../"}) {
        EXPECT_EQ(HFile::delete_dir_recur(path), EINVAL) << path;
    }
    fs::create_directories(dir);
    EXPECT_EQ(HFile::delete_dir_recur(dir + "/."), EINVAL);
    EXPECT_EQ(HFile::delete_dir_recur(dir + "/../"), EINVAL);
    EXPECT_TRUE(Exists(dir));
}

TEST_F(DeleteTreeTest, FileIsNotADirectory) {
    WriteBytes(root / "file", "x");
    EXPECT_EQ(HFile::delete_dir_recur(root / "file"), ENOTDIR);
    EXPECT_TRUE(Exists(root / "file"));
}

TEST_F(DeleteTreeTest, LinksBelowAreRemovedNotFollowed) {
    fs::create_directories(root / "kept/sub");
    WriteBytes(root / "kept/file", "x");
    fs::create_directories(dir + "/a");
    fs::create_symlink(root / "kept", dir + "/a/link");
    fs::create_symlink(root / "kept/file", dir + "/file");
    fs::create_symlink("..", dir + "/up");
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_FALSE(Exists(dir));
    EXPECT_TRUE(Exists(root / "kept/file"));
    EXPECT_TRUE(Exists(root / "kept/sub"));
}

TEST_F(DeleteTreeTest, LinkGivenAsTheDirectoryIsRefused) {
    fs::create_directories(dir);
    WriteBytes(dir + "/file", "x");
    fs::create_symlink(dir, root / "link");
    EXPECT_EQ(HFile::delete_dir_recur(root / "link"), ENOTDIR);
    EXPECT_EQ(HFile::delete_dir_recur(root / "link/"), ENOTDIR);
    EXPECT_TRUE(Exists(dir + "/file"));
}

TEST_F(DeleteTreeTest, OtherKindsOfFilesAreRemoved) {
    fs::create_directories(dir);
    ASSERT_EQ(mkfifo((dir + "/fifo").c_str(), 0600), 0);
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_FALSE(Exists(dir));
}

// The directory of the same file system that is mounted there is not part of the tree.
TEST_F(DeleteTreeTest, WhatIsMountedBelowStays) {
    fs::create_directories(dir + "/sub/mounted");
    fs::create_directories(root / "outside");
    WriteBytes(root / "outside/letter", "x");
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        GTEST_SKIP() << "mounting needs rights that are missing";
    }
    ASSERT_EQ(mount((root / "outside").c_str(), (dir + "/sub/mounted").c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_NE(HFile::delete_dir_recur(dir), 0);
    EXPECT_TRUE(Exists(root / "outside/letter"));
    ASSERT_EQ(umount((dir + "/sub/mounted").c_str()), 0);
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_FALSE(Exists(dir));
}

TEST_F(DeleteTreeTest, DepthNeedsNeitherStackNorDescriptors) {
    MakeDeep(1500);
    EXPECT_EQ(DeleteWithLittle(), 0);
    EXPECT_FALSE(Exists(dir));
}

TEST_F(DeleteTreeTest, WidthIsNoTrouble) {
    for (int i = 0; i < 200; ++i)
        fs::create_directories(dir + "/" + std::to_string(i) + "/x");
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_FALSE(Exists(dir));
}

TEST_F(DeleteTreeTest, NamesThatAreNotUtf8AreRemoved) {
    fs::create_directories(dir + "/\xFF\xFE");
    WriteBytes(dir + "/\xFF\xFE/\xC3", "x");
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_FALSE(Exists(dir));
}

}  // namespace
