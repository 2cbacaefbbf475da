#include "front/DLPCacheVersion.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "tests/support/LogLines.h"
#include "tests/support/OnAllThreads.h"
#include "tests/support/TempRoot.h"

namespace {

constexpr char kCurrentStamp[] =
    "[DLP]\n"
    "major=3\n"
    "branch=2306\n"
    "minor=4\n"
    "revise=13\n"
    "module=1\n"
    "cache=4\n";

class DLPCacheVersionTest : public testing::Test {
  protected:
    DLPCacheVersionTest() { KeepFile("template/kept/md5/cache"); }

    [[nodiscard]] std::string InCache(std::string const& name) const { return root_ / ("cache/" + name); }
    void KeepFile(std::string const& name) const {
        std::filesystem::create_directories(std::filesystem::path(InCache(name)).parent_path());
        WriteBytes(InCache(name), "kept");
    }
    void Stamp(std::string const& bytes) const { WriteBytes(InCache("Version.ini"), bytes); }
    [[nodiscard]] std::string StampBytes() const { return ReadBytes(InCache("Version.ini")); }
    [[nodiscard]] bool IsWiped() const { return !Exists(InCache("template")); }

    TempRoot root_;
};

TEST_F(DLPCacheVersionTest, FreshRootIsEmptiedAndStamped) {
    CheckModuleVersion();
    EXPECT_TRUE(IsWiped());
    EXPECT_EQ(StampBytes(), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, MissingRootIsMadeAndStamped) {
    std::filesystem::remove_all(root_ / "cache");
    CheckModuleVersion();
    EXPECT_EQ(StampBytes(), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, Layout3WipesEveryStoreUnderTheRoot) {
    KeepFile("task/t1/index");
    KeepFile("sensrecord/s1/cache");
    KeepFile("stray");
    Stamp("[DLP]\nmajor=3\nbranch=2306\nminor=4\nrevise=13\nmodule=1\ncache=3\n");
    CheckModuleVersion();
    EXPECT_EQ(StampBytes(), kCurrentStamp);
    std::filesystem::remove(InCache("Version.ini"));
    EXPECT_TRUE(std::filesystem::is_empty(root_ / "cache"));
}

TEST_F(DLPCacheVersionTest, NothingOutsideTheCacheRootIsWiped) {
    for (char const* folder : {"ini", "log", "config"}) {
        std::filesystem::create_directories(root_ / folder);
        WriteBytes(root_ / (std::string(folder) + "/file"), "kept");
    }
    CheckModuleVersion();
    for (char const* file : {"ini/file", "log/file", "config/file"})
        EXPECT_TRUE(Exists(root_ / file)) << file;
}

TEST_F(DLPCacheVersionTest, OtherReviseOfLayout4IsRewrittenAndNothingIsDeleted) {
    Stamp("[DLP]\nmajor=3\nbranch=2306\nminor=4\nrevise=12\nmodule=1\ncache=4\n");
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
    EXPECT_EQ(StampBytes(), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, AnyOtherKeyOfLayout4IsRewrittenAndNothingIsDeleted) {
    for (char const* stamp : {"[DLP]\nmajor=2\nbranch=2306\nminor=4\nrevise=13\nmodule=1\ncache=4\n",
                              "[DLP]\nmajor=3\nbranch=2307\nminor=4\nrevise=13\nmodule=1\ncache=4\n",
                              "[DLP]\nmajor=3\nbranch=2306\nminor=5\nrevise=13\nmodule=1\ncache=4\n",
                              "[DLP]\nmajor=3\nbranch=2306\nminor=4\nrevise=13\nmodule=0\ncache=4\n"}) {
        Stamp(stamp);
        CheckModuleVersion();
        EXPECT_FALSE(IsWiped());
        EXPECT_EQ(StampBytes(), kCurrentStamp);
    }
}

TEST_F(DLPCacheVersionTest, MissingKeysOfLayout4AreWrittenAndNothingIsDeleted) {
    Stamp("[DLP]\ncache=4\n");
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
    EXPECT_EQ(StampBytes(), "[DLP]\ncache=4\nmajor=3\nbranch=2306\nminor=4\nrevise=13\nmodule=1\n");
}

TEST_F(DLPCacheVersionTest, CurrentStampIsNotWrittenAgain) {
    Stamp(std::string("; ours\n") + kCurrentStamp);
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
    EXPECT_EQ(StampBytes(), std::string("; ours\n") + kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, StampWithoutCacheKeyWipes) {
    Stamp("[DLP]\nmajor=3\nbranch=2306\nminor=4\nrevise=13\nmodule=1\n");
    CheckModuleVersion();
    EXPECT_TRUE(IsWiped());
}

TEST_F(DLPCacheVersionTest, StampWhoseCacheIsNoNumberWipes) {
    Stamp("[DLP]\nmajor=3\nbranch=2306\nminor=4\nrevise=13\nmodule=1\ncache=four\n");
    CheckModuleVersion();
    EXPECT_TRUE(IsWiped());
    EXPECT_EQ(StampBytes(), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, StampOfAnotherSectionWipes) {
    Stamp("[Other]\ncache=4\n");
    CheckModuleVersion();
    EXPECT_TRUE(IsWiped());
}

TEST_F(DLPCacheVersionTest, StampBehindASymbolicLinkChangesNothing) {
    WriteBytes(root_ / "elsewhere", "[DLP]\ncache=3\n");
    std::filesystem::create_symlink(root_ / "elsewhere", InCache("Version.ini"));
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
    EXPECT_EQ(ReadBytes(root_ / "elsewhere"), "[DLP]\ncache=3\n");
}

TEST_F(DLPCacheVersionTest, DirectoryInTheStampsPlaceChangesNothing) {
    std::filesystem::create_directories(InCache("Version.ini/inner"));
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
    EXPECT_TRUE(Exists(InCache("Version.ini/inner")));
}

TEST_F(DLPCacheVersionTest, FifoInTheStampsPlaceNeitherBlocksNorChangesAnything) {
    ASSERT_EQ(::mkfifo(InCache("Version.ini").c_str(), 0600), 0);
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
}

TEST_F(DLPCacheVersionTest, OversizedStampChangesNothing) {
    std::string bytes(2 << 20, ';');
    bytes += "\n[DLP]\ncache=3\n";
    Stamp(bytes);
    CheckModuleVersion();
    EXPECT_FALSE(IsWiped());
    EXPECT_EQ(StampBytes(), bytes);
}

TEST_F(DLPCacheVersionTest, FileInThePlaceOfTheRootStays) {
    std::filesystem::remove_all(root_ / "cache");
    WriteBytes(root_ / "cache", "not a directory");
    CheckModuleVersion();
    EXPECT_EQ(ReadBytes(root_ / "cache"), "not a directory");
}

TEST_F(DLPCacheVersionTest, ProcessWipesARootOnlyOnce) {
    CheckModuleVersion();
    KeepFile("template/new/md5/cache");
    Stamp("[DLP]\ncache=3\n");
    CheckModuleVersion();
    EXPECT_TRUE(Exists(InCache("template/new/md5/cache")));
    EXPECT_THAT(StampBytes(), testing::HasSubstr("cache=4\n"));
}

TEST_F(DLPCacheVersionTest, EveryRootIsWipedOnce) {
    CheckModuleVersion();
    TempRoot const other;
    std::filesystem::create_directories(other / "cache/template/old");
    CheckModuleVersion();
    EXPECT_FALSE(Exists(other / "cache/template"));
    EXPECT_EQ(ReadBytes(other / "cache/Version.ini"), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, FrontObjectChecksWhenItIsMade) {
    ASSERT_NE(DLPCacheMgr::pins(), nullptr);
    EXPECT_EQ(StampBytes(), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, FrontObjectIsMadeOnceAndChecksOnce) {
    DLPCacheMgr* const first = DLPCacheMgr::pins();
    std::filesystem::remove(InCache("Version.ini"));
    EXPECT_EQ(DLPCacheMgr::pins(), first);
    EXPECT_FALSE(Exists(InCache("Version.ini")));
}

TEST_F(DLPCacheVersionTest, ChecksOfManyThreadsExcludeEachOther) {
    OnAllThreads(8, [this](int thread) {
        CheckModuleVersion();
        KeepFile("after/" + std::to_string(thread));  // a wipe after a check would take it away
    });
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(Exists(InCache("after/" + std::to_string(i)))) << i;
    EXPECT_EQ(StampBytes(), kCurrentStamp);
}

TEST_F(DLPCacheVersionTest, UnreadableStampIsLogged) {
    std::filesystem::create_directories(InCache("Version.ini/inner"));
    LogLines log;
    CheckModuleVersion();
    auto const lines = log.Take();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].level, 1);
    EXPECT_EQ(lines[0].source, "../DLPCacheMgr.cpp");
    EXPECT_THAT(lines[0].text, testing::StartsWith("CheckModuleVersion, not read: "));
}

TEST_F(DLPCacheVersionTest, CurrentStampLogsNothing) {
    Stamp(kCurrentStamp);
    LogLines log;
    CheckModuleVersion();
    EXPECT_TRUE(log.Take().empty());
}

TEST(PrintMoudleVersionTest, PrintsNameVersionAndBuildTimeToTheErrorStream) {
    testing::internal::CaptureStderr();
    int const printed = PrintMoudleVersion();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "libtorvane               3.2306.4.13.1     2024-07-10 15:05:03\n");
    EXPECT_EQ(printed, 63);
}

TEST(PrintMoudleVersionTest, FailedWriteGivesANegativeValue) {
    int const saved = ::dup(STDERR_FILENO);
    int const full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    ::dup2(full, STDERR_FILENO);
    int const printed = PrintMoudleVersion();
    ::dup2(saved, STDERR_FILENO);
    ::close(full);
    ::close(saved);
    EXPECT_LT(printed, 0);
}

}  // namespace
