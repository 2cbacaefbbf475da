#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/base/HFileReadWriter.h"
#include "host/base/HFileReader.h"
#include "host/base/HFileWriter.h"
#include "tests/support/TempRoot.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

struct HFileBaseFaultTest : testing::Test {
    TempRoot root;
    std::string path = root / "file";

    [[nodiscard]] std::string Read(HFileBase& file, long long count) const {
        std::string bytes(static_cast<std::size_t>(count), '\0');
        bytes.resize(static_cast<std::size_t>(file.read(bytes.data(), count)));
        return bytes;
    }
};

TEST_F(HFileBaseFaultTest, ShortAndInterruptedReadsAreContinued) {
    WriteBytes(path, "0123456789");
    FaultInjection faults;
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    faults.ShortenFrom(SystemCall::kPread, 1, 3);
    EXPECT_EQ(Read(file, 10), "0123456789");
    EXPECT_EQ(faults.Count(SystemCall::kPread), 4);
    ASSERT_EQ(file.set_pointer(0), 0);
    faults.Fail(SystemCall::kPread, 1, EINTR);
    EXPECT_EQ(Read(file, 10), "0123456789");
}

TEST_F(HFileBaseFaultTest, ReadErrorEndsTheRead) {
    WriteBytes(path, "0123456789");
    FaultInjection faults;
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    faults.Fail(SystemCall::kPread, 1, EIO);
    EXPECT_EQ(Read(file, 10), "");
    EXPECT_EQ(file.get_current_pointer(), 0);
}

TEST_F(HFileBaseFaultTest, ShortAndInterruptedWritesAreContinued) {
    FaultInjection faults;
    HFileWriter file;
    ASSERT_EQ(file.create(path, false), 0);
    faults.ShortenFrom(SystemCall::kPwrite, 1, 3);
    EXPECT_EQ(file.write("0123456789", 10), 0);
    faults.Fail(SystemCall::kPwrite, 1, EINTR);
    EXPECT_EQ(file.write("ab", 2), 0);
    EXPECT_EQ(ReadBytes(path), "0123456789ab");
}

TEST_F(HFileBaseFaultTest, FullDiskFailsTheWrite) {
    FaultInjection faults;
    HFileWriter file;
    ASSERT_EQ(file.create(path, false), 0);
    faults.Fail(SystemCall::kPwrite, 1, ENOSPC);
    EXPECT_EQ(file.write("0123456789", 10), ENOSPC);
    EXPECT_EQ(file.get_current_pointer(), 0);
    faults.Fail(SystemCall::kPwrite, 2, ENOSPC);
    EXPECT_EQ(file.write_zeros(200000), ENOSPC);
}

TEST_F(HFileBaseFaultTest, WriteThatTakesNothingDoesNotLoopForEver) {
    FaultInjection faults;
    HFileWriter file;
    ASSERT_EQ(file.create(path, false), 0);
    faults.ShortenFrom(SystemCall::kPwrite, 1, 0);
    EXPECT_EQ(file.write("0123456789", 10), EIO);
}

TEST_F(HFileBaseFaultTest, EndThatCannotBeFoundFailsTheWrite) {
    WriteBytes(path, "0123");
    FaultInjection faults;
    HFileWriter file;
    ASSERT_EQ(file.create(path, true), 0);
    faults.FailFrom(SystemCall::kLseek, 1, EIO);
    EXPECT_EQ(file.get_current_pointer(), -1);
    EXPECT_EQ(file.write("x", 1), EIO);
    EXPECT_EQ(file.set_pointer_to_end(), EIO);
    EXPECT_EQ(ReadBytes(path), "0123");
}

TEST_F(HFileBaseFaultTest, CutOffGoesOnAfterAnInterruption) {
    WriteBytes(path, "0123");
    FaultInjection faults;
    HFileReadWriter file;
    ASSERT_EQ(file.open(path), 0);
    faults.Fail(SystemCall::kFtruncate, 1, EINTR);
    EXPECT_EQ(file.cut_off(1), 0);
    faults.Fail(SystemCall::kFtruncate, 1, EIO);
    EXPECT_EQ(file.cut_off(0), EIO);
    EXPECT_EQ(ReadBytes(path), "0");
}

TEST_F(HFileBaseFaultTest, OpenGoesOnAfterAnInterruptionAndTellsEveryOtherError) {
    WriteBytes(path, "0123");
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, EINTR);
    EXPECT_EQ(HFileReader().open(path), 0);
    for (int const error : {EACCES, EMFILE, ENFILE, ENOMEM, EIO}) {
        faults.Fail(SystemCall::kOpen, 1, error);
        EXPECT_EQ(HFileReader().open(path), error);
        faults.Fail(SystemCall::kOpen, 1, error);
        EXPECT_EQ(HFileWriter().create(path, true), error);
    }
    EXPECT_EQ(ReadBytes(path), "0123");
}

TEST_F(HFileBaseFaultTest, FileThatAppearsMeanwhileIsUsed) {
    WriteBytes(path, "0123");
    FaultInjection faults;
    faults.Fail(SystemCall::kOpen, 1, ENOENT);  // not there at first, there when it is to be made
    EXPECT_EQ(HFileWriter().create(path, true), 0);
    EXPECT_EQ(faults.Count(SystemCall::kOpen), 3);
    EXPECT_EQ(ReadBytes(path), "0123");
}

TEST_F(HFileBaseFaultTest, CloseErrorIsToldOnceAndInterruptionIsNone) {
    WriteBytes(path, "0123");
    FaultInjection faults;
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    faults.Fail(SystemCall::kClose, 1, EIO);
    EXPECT_EQ(file.closex(), EIO);
    EXPECT_EQ(file.closex(), 0);
    ASSERT_EQ(file.open(path), 0);
    faults.Fail(SystemCall::kClose, 1, EINTR);
    EXPECT_EQ(file.closex(), 0);
}

TEST_F(HFileBaseFaultTest, ReadingCostsThreeCalls) {
    WriteBytes(path, "0123456789");
    FaultInjection const calls;
    HFileReader file;
    ASSERT_EQ(file.open(path), 0);
    ASSERT_EQ(file.set_pointer(4), 0);
    EXPECT_EQ(Read(file, 2), "45");
    EXPECT_EQ(file.closex(), 0);
    EXPECT_EQ(calls.CountAll(), 3);
}

TEST_F(HFileBaseFaultTest, WritingInPlaceCostsThreeCallsAndAppendingFour) {
    WriteBytes(path, "0123456789");
    FaultInjection const calls;
    HFileWriter file;
    ASSERT_EQ(file.create(path, true), 0);
    ASSERT_EQ(file.set_pointer(4), 0);
    ASSERT_EQ(file.write("xy", 2), 0);
    EXPECT_EQ(file.closex(), 0);
    EXPECT_EQ(calls.CountAll(), 3);
    ASSERT_EQ(file.create(path, true), 0);
    EXPECT_EQ(file.get_current_pointer(), 10);
    ASSERT_EQ(file.write("z", 1), 0);
    EXPECT_EQ(file.closex(), 0);
    EXPECT_EQ(calls.CountAll(), 7);
    EXPECT_EQ(ReadBytes(path), "0123xy6789z");
}

}  // namespace
