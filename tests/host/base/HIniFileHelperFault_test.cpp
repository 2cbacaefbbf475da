#include <gtest/gtest.h>

#include <cerrno>

#include "host/base/HIniFileHelper.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

TEST(HIniFileHelperFault, FileThatCannotBeReadIsNeitherMissingNorReplaced) {
    TempRoot root;
    WriteBytes(root / "test.ini", "[DLP]\ncache=4\n");
    FaultInjection faults;
    for (int const error : {EACCES, EMFILE, ENFILE, ENOMEM, EIO}) {
        HIniFileHelper ini;
        faults.Fail(SystemCall::kOpen, 1, error);
        EXPECT_EQ(ini.setFile(root / "test.ini"), error);
        int value = -777;
        EXPECT_EQ(ini.read_int("DLP", "cache", value), -1);
        EXPECT_EQ(ini.write_int("DLP", "cache", 5), 0);
        EXPECT_EQ(ini.write_all(), error);
    }
    EXPECT_EQ(ReadBytes(root / "test.ini"), "[DLP]\ncache=4\n");
}

TEST(HIniFileHelperFault, FullDiskKeepsTheOldFile) {
    TempRoot root;
    WriteBytes(root / "test.ini", "[DLP]\ncache=4\n");
    HIniFileHelper ini;
    ASSERT_EQ(ini.setFile(root / "test.ini"), 0);
    ASSERT_EQ(ini.write_int("DLP", "cache", 5), 0);
    FaultInjection faults;
    faults.Fail(SystemCall::kPwrite, 1, ENOSPC);
    EXPECT_EQ(ini.write_all(), ENOSPC);
    EXPECT_EQ(ReadBytes(root / "test.ini"), "[DLP]\ncache=4\n");
    EXPECT_EQ(ini.write_all(), 0);
    EXPECT_EQ(ReadBytes(root / "test.ini"), "[DLP]\ncache=5\n");
}

}  // namespace
