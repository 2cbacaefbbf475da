#include "storage/DLPCacheLog.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/storage/LogExpect.h"
#include "tests/support/OnAllThreads.h"
#include "tests/support/TempRoot.h"

namespace {

constexpr DLPCache::SourceLog kLog{L"../DLPCacheIndex.cpp"};

TEST(ModuleLog, IsOffUntilItsLoggerIsMade) {
    TempRoot const root;
    EXPECT_FALSE(Varnok::Global::IsLoggingOn());
    kLog.Write(DLPCache::kLogError, 1, "lost");
    EXPECT_FALSE(Exists(root / "log"));
    EXPECT_NE(DLPCacheLog::pins(), nullptr);
    EXPECT_TRUE(Varnok::Global::IsLoggingOn());
}

TEST(ModuleLog, StaysOffWhenItWasSwitchedOffAgain) {
    HFileLog* const log = DLPCacheLog::pins();
    Varnok::Global::pins()->logging = 0;
    EXPECT_EQ(DLPCacheLog::pins(), log);
    EXPECT_FALSE(Varnok::Global::IsLoggingOn());
}

TEST(ModuleLog, IsMadeOnceWhateverTheThreads) {
    auto const logs = AskOnAllThreads(8, [] { return DLPCacheLog::pins(); });
    EXPECT_EQ(std::set<HFileLog*>(logs.begin(), logs.end()).size(), 1U);
}

TEST(ModuleLog, WritesItsPiecesInOneLine) {
    TempRoot const root;
    LogLines log;
    kLog.Write(DLPCache::kLogInformation, 7, "narrow ", HString("wide \xC3\xA9 "), -5, " ", 1LL << 40);
    EXPECT_EQ(TakeStorageLines(log), (Logged{{3, 7, "narrow wide \xC3\xA9 -5 1099511627776"}}));
    EXPECT_TRUE(Exists(root / "log/DLPCache.log"));
}

TEST(ModuleLog, AssertionLineGivesItsResultBack) {
    TempRoot const root;
    LogLines log;
    EXPECT_EQ(kLog.Failed("Find", 65, DLPCache::kAssertFalse, -5), -5);
    EXPECT_EQ(kLog.Failed("Find", 58, DLPCache::kNoExistFile, HString("/a b"), -3), -3);
    EXPECT_FALSE(kLog.Failed("WriteHString", 919, DLPCache::kAssertWriteInt16, 0, false));
    EXPECT_EQ(TakeStorageLines(log), (Logged{{1, 65, "Find, Line:65, ASSERT_FALSE"},
                                             {1, 58, "Find, Line:58, No exist file: /a b"},
                                             {1, 919, "WriteHString, Line:919, ASSERT_WRITE_INT16  Ret: 0"}}));
}

TEST(ModuleLog, AssertionWordsAreThoseOfTheForm) {
    using namespace DLPCache;
    EXPECT_STREQ(kAssertFalse, ", ASSERT_FALSE");
    EXPECT_STREQ(kAssertNull, ", ASSERT_NULL");
    EXPECT_STREQ(kAssertReadInt16, ", ASSERT_READ_INT16  Ret: ");
    EXPECT_STREQ(kAssertReadInt32, ", ASSERT_READ_INT32 Ret: ");
    EXPECT_STREQ(kAssertWriteInt16, ", ASSERT_WRITE_INT16  Ret: ");
    EXPECT_STREQ(kAssertWriteUInt16, ", ASSERT_WRITE_UINT16 Ret: ");
    EXPECT_STREQ(kAssertWriteInt32, ", ASSERT_WRITE_INT32 Ret: ");
    EXPECT_STREQ(kNoExistFile, ", No exist file: ");
}

}  // namespace
