#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/EveryFault.h"

namespace {

namespace fs = std::filesystem;

struct HFileFaultTest : testing::Test {
    TempRoot root;
    std::string file = root / "file";
    std::string dir = root / "dir";

    HFileFaultTest() {
        WriteBytes(file, "0123");
        fs::create_directories(dir);
    }
};

TEST_F(HFileFaultTest, WhatCannotBeLookedAtCountsAsExisting) {
    FaultInjection faults;
    for (int const error : {EACCES, ENOMEM, EIO, ELOOP}) {
        faults.FailFrom(SystemCall::kStat, 1, error);
        EXPECT_TRUE(HFile::IsFileExistFile(root / "missing"));
        EXPECT_TRUE(HFile::IsFileExistDir(root / "missing"));
    }
}

TEST_F(HFileFaultTest, DirectoryThatCannotBeReadIsNotEmpty) {
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, EMFILE);
    EXPECT_FALSE(HFile::IsDirEmpty(dir));
    faults.FailFrom(SystemCall::kReaddir, 1, EIO);
    EXPECT_FALSE(HFile::IsDirEmpty(dir));
}

TEST_F(HFileFaultTest, ReadErrorsReachTheCaller) {
    FaultInjection faults;
    std::string content;
    for (int const error : {EACCES, EMFILE, ENFILE}) {
        faults.Fail(SystemCall::kOpen, 1, error);
        EXPECT_EQ(HFile::read_file(file, content, 100), error);
    }
    faults.Fail(SystemCall::kStat, 1, EIO);
    EXPECT_EQ(HFile::read_file(file, content, 100), EIO);
    faults.Fail(SystemCall::kPread, 1, EIO);
    EXPECT_EQ(HFile::read_file(file, content, 100), EIO);
    faults.ShortenFrom(SystemCall::kPread, 1, 1);
    EXPECT_EQ(HFile::read_file(file, content, 100), 0);
    EXPECT_EQ(content, "0123");
}

TEST_F(HFileFaultTest, FailingReplaceLeavesTheOldContentAndNoTemporaryFile) {
    FaultInjection faults;
    for (SystemCall const call :
         {SystemCall::kOpen, SystemCall::kFchmod, SystemCall::kPwrite, SystemCall::kClose, SystemCall::kRename}) {
        faults.Fail(call, 1, EIO);
        EXPECT_EQ(HFile::replace_file(file, "new", 3), EIO) << static_cast<int>(call);
        EXPECT_EQ(ReadBytes(file), "0123");
    }
    EXPECT_EQ(faults.Fired(), 5);
    EXPECT_THAT(Files(root.Path()), testing::ElementsAre("dir", "file"));
}

TEST_F(HFileFaultTest, ReplaceGivesUpATemporaryNameThatIsTaken) {
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, EEXIST);
    EXPECT_EQ(HFile::replace_file(file, "new", 3), 0);
    EXPECT_EQ(ReadBytes(file), "new");
}

TEST_F(HFileFaultTest, ReplaceKilledAnywhereLeavesTheOldContentOrTheNew) {
    auto const check = [this](bool died) { EXPECT_EQ(ReadBytes(file), died ? "0123" : "new"); };
    int const changes = fault::WithEveryKill(
        fault::Nothing, [this] { (void)HFile::replace_file(file, "new", 3); }, check);
    EXPECT_EQ(changes, 4) << "open, fchmod, pwrite, rename";
}

TEST_F(HFileFaultTest, DeleteGoesOnPastWhatCannotBeRemovedAndTellsTheFirstError) {
    fs::create_directories(dir + "/a/b");
    for (char const* name : {"/1", "/2", "/a/3", "/a/b/4"})
        WriteBytes(dir + name, "");
    FaultInjection faults;
    // Entries that are no directories: the first removal fails, whatever the order.
    faults.Fail(SystemCall::kUnlink, 1, EACCES);
    EXPECT_EQ(HFile::delete_dir_recur(dir), EACCES);
    long left = 0;
    for (auto const& entry : fs::recursive_directory_iterator(dir))
        left += entry.is_regular_file() ? 1 : 0;
    EXPECT_LE(left, 1);
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_FALSE(Exists(dir));
}

TEST_F(HFileFaultTest, DirectoryThatCannotBeOpenedFailsTheDeletion) {
    WriteBytes(dir + "/1", "");
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, EMFILE);
    EXPECT_EQ(HFile::delete_dir_recur(dir), EMFILE);
    faults.FailFrom(SystemCall::kReaddir, 1, EIO);
    EXPECT_EQ(HFile::delete_dir_recur(dir), EIO);
    EXPECT_TRUE(Exists(dir + "/1"));
}

TEST_F(HFileFaultTest, WayUpThatDotDotDoesNotOfferIsFoundFromTheTop) {
    fs::create_directories(dir + "/a/b/c");
    for (char const* name : {"/1", "/a/2", "/a/b/3", "/a/b/c/4"})
        WriteBytes(dir + name, "");
    FaultInjection faults;
    // Opens: top and its scan, then two for each level further down; the ninth is "..".
    faults.Fail(SystemCall::kOpen, 9, EACCES);
    EXPECT_EQ(HFile::delete_dir_recur(dir), 0);
    EXPECT_EQ(faults.Fired(), 1);
    EXPECT_FALSE(Exists(dir));
}

TEST_F(HFileFaultTest, MakeDirTellsWhenItCannot) {
    FaultInjection faults;
    for (int const error : {EACCES, ENOSPC, EMLINK, EROFS}) {
        faults.Fail(SystemCall::kMkdir, 1, error);
        EXPECT_FALSE(Varnok::MakeDir(root / "new"));
    }
    faults.FailFrom(SystemCall::kMkdir, 1, EROFS);
    EXPECT_TRUE(Varnok::MakeDir(dir)) << "it is there, whatever making it says";
}

TEST_F(HFileFaultTest, TimesThatCannotBeToldAreNone) {
    FaultInjection faults;
    for (int const error : {EACCES, EIO, ENOMEM}) {
        faults.Fail(SystemCall::kStat, 1, error);
        HFileTime time{-7, -7};
        EXPECT_EQ(HFile::get_file_time(file, time), error);
        EXPECT_EQ(time.creation_time, 0);
        EXPECT_EQ(time.modification_time, 0);
    }
    EXPECT_EQ(faults.Fired(), 3);
}

TEST_F(HFileFaultTest, TouchThatFailsLeavesNothingBehind) {
    FaultInjection faults;
    for (int const error : {EACCES, EMFILE, ENOSPC}) {
        faults.Fail(SystemCall::kOpen, 1, error);
        EXPECT_EQ(HFile::touch(root / "new"), error);
    }
    faults.Fail(SystemCall::kFchmod, 1, EPERM);
    EXPECT_EQ(HFile::touch(root / "new"), EPERM);
    EXPECT_EQ(faults.Fired(), 4);
    EXPECT_FALSE(Exists(root / "new"));
}

TEST_F(HFileFaultTest, TouchOfWhatCannotBeLookedAtTellsWhy) {
    FaultInjection faults;
    faults.Fail(SystemCall::kStat, 1, EIO);
    EXPECT_EQ(HFile::touch(file), EIO);
    EXPECT_EQ(ReadBytes(file), "0123");
}

TEST_F(HFileFaultTest, TouchGoesOnAfterAnInterruption) {
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, EINTR);
    EXPECT_EQ(HFile::touch(root / "new"), 0);
    EXPECT_TRUE(Exists(root / "new"));
}

TEST_F(HFileFaultTest, OnlyAMissingFileIsDeletedInAnyCase) {
    FaultInjection faults;
    for (int const error : {EACCES, EBUSY, EROFS}) {
        faults.Fail(SystemCall::kUnlink, 1, error);
        EXPECT_EQ(HFile::delete_file2(file), error);
    }
    EXPECT_TRUE(Exists(file));
}

TEST_F(HFileFaultTest, DirectoryThatCannotBeGivenItsRightsIsNotLeftBehind) {
    FaultInjection faults;
    faults.Fail(SystemCall::kFchmod, 1, EPERM);
    mode_t const before = umask(0777);
    EXPECT_FALSE(Varnok::MakeDir(root / "new"));
    umask(before);
    EXPECT_EQ(faults.Fired(), 1);
    EXPECT_FALSE(Exists(root / "new"));
}

TEST_F(HFileFaultTest, SnapshotThatCannotBeReadIsNone) {
    fs::create_directories(dir + "/a");
    FaultInjection faults;
    HDirSnap snapshot;
    snapshot.set_file(dir);
    faults.Fail(SystemCall::kOpen, 1, EMFILE);
    EXPECT_FALSE(snapshot.snap());
    faults.Fail(SystemCall::kReaddir, 3, EIO);
    EXPECT_FALSE(snapshot.snap());
    EXPECT_TRUE(snapshot.entries().empty());
    snapshot.recursive = true;
    faults.Fail(SystemCall::kOpen, 2, EACCES);
    EXPECT_FALSE(snapshot.snap());
    EXPECT_TRUE(snapshot.entries().empty());
    faults.Fail(SystemCall::kOpen, 2, ENOENT);  // gone between the two
    EXPECT_TRUE(snapshot.snap());
    EXPECT_EQ(snapshot.entries().size(), 1U);
}

}  // namespace
