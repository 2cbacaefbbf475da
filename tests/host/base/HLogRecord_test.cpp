#include "host/base/HLogRecord.h"

#include <gtest/gtest.h>

namespace {

TEST(HLogRecord, PiecesAreAppendedInOrder) {
    HLogRecord record;
    record.active = true;
    record << "Find" << HString(", Line:") << 81 << ", " << -9000000000LL << static_cast<char const*>(nullptr);
    EXPECT_EQ(record.text, "Find, Line:81, -9000000000");
}

TEST(HLogRecord, InactiveRecordTakesNothing) {
    HLogRecord record;
    record << "Find" << HString("x") << 1 << 2LL;
    EXPECT_EQ(record.text, "");
}

TEST(HLogRecord, BytesThatAreNotUtf8ReachTheText) {
    HLogRecord record;
    record.active = true;
    record << HString("a\xFF");
    EXPECT_EQ(record.text, "a\xFF");
}

}  // namespace
