#include "tools/torvane/log/LogLine.h"

#include <gtest/gtest.h>

namespace torvane {
namespace {

TEST(LogLines, HaveTimeLevelSourceLineAndText) {
    auto const line = ParseLogLine("2026-01-31T12:00:00.000Z 2 ../DLPCacheIndex.cpp:58 Find, Line:58, No exist file");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->time, "2026-01-31T12:00:00.000Z");
    EXPECT_EQ(line->level, LogLevel::kWarning);
    EXPECT_EQ(line->source, "../DLPCacheIndex.cpp");
    EXPECT_EQ(line->line, 58);
    EXPECT_EQ(line->text, "Find, Line:58, No exist file");
}

TEST(LogLines, MayHaveAnEmptyText) {
    auto const line = ParseLogLine("2026-01-31T12:00:00.000Z 3 a:1 ");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->text, "");
}

TEST(LogLines, OfAnotherFormAreNone) {
    for (char const* const line :
         {"", " ", "text", "2026-01-31T12:00:00.000Z", "2026-01-31T12:00:00.000Z 1",
          "2026-01-31T12:00:00.000Z 1 source", "2026-01-31T12:00:00.000Z 1 source: x",
          "2026-01-31T12:00:00.000Z 1 source:1x y", "2026-01-31T12:00:00.000Z 1 source:99999999999999999999 y",
          "2026-01-31T12:00:00.000Z 0 a:1 x", "2026-01-31T12:00:00.000Z 4 a:1 x", "2026-01-31T12:00:00.000Z 12 a:1 x",
          "2026-01-31 12:00:00.000Z 1 a:1 x", "2026-01-31T12:00:00.000 1 a:1 x", "2026-01-31T12:00:00.00xZ 1 a:1 x"})
        EXPECT_FALSE(ParseLogLine(line)) << line;
}

TEST(LogLevels, HaveNames) {
    EXPECT_STREQ(NameOf(LogLevel::kError), "error");
    EXPECT_STREQ(NameOf(LogLevel::kWarning), "warning");
    EXPECT_STREQ(NameOf(LogLevel::kInformation), "information");
}

}  // namespace
}  // namespace torvane
