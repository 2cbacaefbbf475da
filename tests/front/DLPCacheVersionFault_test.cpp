// The version check when system calls fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "front/DLPCacheVersion.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

class DLPCacheVersionFaultTest : public testing::Test {
  protected:
    DLPCacheVersionFaultTest() {
        std::filesystem::create_directories(Kept());
        WriteBytes(Stamp(), "[DLP]\ncache=3\n");
    }
    [[nodiscard]] std::string Kept() const { return root_ / "cache/kept"; }
    [[nodiscard]] std::string Stamp() const { return root_ / "cache/Version.ini"; }

    TempRoot root_;
};

TEST_F(DLPCacheVersionFaultTest, StampThatCannotBeOpenedChangesNothing) {
    for (int const error : {EMFILE, ENFILE, EACCES, ENOMEM, EIO}) {
        FaultInjection faults;
        faults.OnlyBelow(root_ / "cache");
        faults.FailFrom(SystemCall::kOpen, 1, error);
        CheckModuleVersion();
        EXPECT_GT(faults.Fired(), 0);
    }
    EXPECT_TRUE(Exists(Kept()));
    EXPECT_EQ(ReadBytes(Stamp()), "[DLP]\ncache=3\n");
}

TEST_F(DLPCacheVersionFaultTest, StampThatCannotBeReadChangesNothing) {
    {
        FaultInjection faults;
        faults.FailFrom(SystemCall::kPread, 1, EIO);
        CheckModuleVersion();
        EXPECT_GT(faults.Fired(), 0);
    }
    EXPECT_TRUE(Exists(Kept()));
    EXPECT_EQ(ReadBytes(Stamp()), "[DLP]\ncache=3\n");
}

TEST_F(DLPCacheVersionFaultTest, UnfinishedWipeIsLoggedAndTheRootStampedAllTheSame) {
    LogLines log;
    {
        FaultInjection faults;
        faults.OnlyBelow(root_ / "cache");
        faults.FailFrom(SystemCall::kRmdir, 1, EBUSY);
        CheckModuleVersion();
        EXPECT_GT(faults.Fired(), 0);
    }
    EXPECT_THAT(log.TakeTexts(), Contains(StartsWith("CheckModuleVersion, not wiped whole: ")));
    EXPECT_THAT(ReadBytes(Stamp()), HasSubstr("cache=4\n"));
}

TEST_F(DLPCacheVersionFaultTest, StampThatCannotBeWrittenIsLoggedAndWrittenByTheNextCheckWithoutAWipe) {
    LogLines log;
    {
        FaultInjection faults;
        faults.OnlyBelow(root_ / "cache");
        faults.FailFrom(SystemCall::kRename, 1, ENOSPC);
        CheckModuleVersion();
        EXPECT_GT(faults.Fired(), 0);
    }
    EXPECT_THAT(log.TakeTexts(), Contains(StartsWith("CheckModuleVersion, not written: ")));
    EXPECT_FALSE(Exists(Stamp()));
    std::filesystem::create_directories(Kept());
    CheckModuleVersion();
    EXPECT_TRUE(Exists(Kept()));
    EXPECT_THAT(ReadBytes(Stamp()), HasSubstr("cache=4\n"));
}

}  // namespace
