// System calls that fail.
#include <cerrno>

#include "tests/support/fault/EveryFault.h"
#include "tests/text/TextFixture.h"

namespace {

using fault::Nothing;
using testing::AnyOf;

class TextFaultTest : public TextFixture {
  protected:
    void WithEveryFault(fault::Step const& before, fault::Step const& work, fault::Step const& check) {
        fault::WithEveryFault(root_.Path(), {EIO}, before, work, check);
    }
};

TEST_F(TextFaultTest, FirstTextIsStoredOrMissing) {
    int code = 0;
    WithEveryFault([this] { std::filesystem::remove_all(root_ / "cache"); },
                   [&] { code = cache_.Add("a", MakeText("alpha")); },
                   [&] {
                       EXPECT_EQ(code, 1);
                       EXPECT_THAT(Find("a"), AnyOf(Found{2, MakeText("alpha")}, Found{-4, MakeText("before")}));
                       EXPECT_EQ(cache_.Add("a", MakeText("newer")), 1);
                       EXPECT_EQ(Find("a"), (Found{2, MakeText("newer")}));
                   });
}

TEST_F(TextFaultTest, NewerTextIsStoredOrTheOlderOrNone) {
    int code = 0;
    WithEveryFault([this] { cache_.Add("a", MakeText("older")); }, [&] { code = cache_.Add("a", MakeText("newer")); },
                   [&] {
                       EXPECT_EQ(code, 1);
                       EXPECT_THAT(Find("a"), AnyOf(Found{2, MakeText("older")}, Found{2, MakeText("newer")},
                                                    Found{-4, MakeText("before")}));
                   });
}

TEST_F(TextFaultTest, TextIsFoundOrNot) {
    cache_.Add("a", MakeText("alpha"));
    Found found;
    WithEveryFault(
        Nothing, [&] { found = Find("a"); },
        [&] {
            EXPECT_THAT(found, AnyOf(Found{2, MakeText("alpha")}, Found{-13, QVKKeywordText()}));
        });
    EXPECT_EQ(Find("a").code, 2);
    EXPECT_THAT(Files(Dir()), testing::SizeIs(1));
}

TEST_F(TextFaultTest, FullDiskLeavesNothingBehind) {
    cache_.Add("a", MakeText("older"));
    {
        FaultInjection faults;
        faults.OnlyBelow(root_.Path());
        faults.FailFrom(SystemCall::kPwrite, 1, ENOSPC);
        EXPECT_EQ(cache_.Add("a", MakeText("alpha")), 1);
        EXPECT_GT(faults.Fired(), 0);
    }
    EXPECT_EQ(Find("a").code, -4);
    EXPECT_THAT(Files(Dir()), testing::IsEmpty());
}

}  // namespace
