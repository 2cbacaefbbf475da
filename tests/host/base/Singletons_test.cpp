#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

#include "host/base/Global.h"
#include "host/base/HFileLog.h"
#include "host/base/LocateMgr.h"
#include "host/base/NoThrow.h"
#include "host/base/Retained.h"
#include "tests/support/OnAllThreads.h"

namespace {

// What `pins` gives to 16 threads that ask at the same moment.
template <class Pins>
std::set<void*> AskedByThreads(Pins pins) {
    auto const given = AskOnAllThreads(16, pins);
    return {given.begin(), given.end()};
}

TEST(Singletons, AreMadeOnceUnderAnyNumberOfThreads) {
    for (auto const& given :
         {AskedByThreads([] { return Varnok::LocateMgr::pins(); }), AskedByThreads([] { return HFileLog::ins(); }),
          AskedByThreads([] { return Varnok::Global::pins(); })}) {
        EXPECT_EQ(given.size(), 1U);
        EXPECT_EQ(given.count(nullptr), 0U);
    }
}

TEST(Singletons, LoggingIsOffAtStart) {
    EXPECT_FALSE(Varnok::Global::IsLoggingOn());
    Varnok::Global::pins()->logging = 1;
    EXPECT_TRUE(Varnok::Global::IsLoggingOn());
    Varnok::Global::pins()->logging = 0;
}

TEST(Singletons, LoggingFlagIsTheFirstByte) {
    static_assert(sizeof(Varnok::Global) == 1);
    Varnok::Global::pins()->logging = 1;
    EXPECT_EQ(*reinterpret_cast<unsigned char const*>(Varnok::Global::pins()), 1);
    Varnok::Global::pins()->logging = 0;
}

TEST(Retained, ObjectsStayAllocatedAndReachable) {
    // Checked by the leak sanitizer at the end of the process.
    OnAllThreads(8, [](int) {
        for (int round = 0; round < 100; ++round)
            Varnok::Retain(new int(round));
    });
    Varnok::Retain(nullptr);
}

TEST(NoThrow, GivesTheResultOrTheFailure) {
    EXPECT_EQ(NoThrow(-1, [] { return 7; }), 7);
    EXPECT_EQ(NoThrow(-1, []() -> int { throw std::bad_alloc(); }), -1);
    EXPECT_EQ(NoThrow(-1, []() -> int { throw 5; }), -1);
}

}  // namespace
