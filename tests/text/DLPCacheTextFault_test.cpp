// System calls that fail.
#include <cerrno>

#include "tests/support/fault/FaultInjection.h"
#include "tests/text/TextFixture.h"

namespace {

using testing::AnyOf;

class TextFaultTest : public TextFixture {
  protected:
    // Runs `work` with every system call below the root failing in turn, alone and with all of its kind that follow.
    // `before` comes before each run and `check` after it.
    template <class Before, class Work, class Check>
    void WithEveryFault(Before const& before, Work const& work, Check const& check) {
        for (int call = 0; call < static_cast<int>(SystemCall::kSize); ++call) {
            for (bool const from_there : {false, true}) {
                for (int nth = 1;; ++nth) {
                    SCOPED_TRACE(testing::Message() << "call " << call << " number " << nth << " on " << from_there);
                    before();
                    if (!RunOne(work, static_cast<SystemCall>(call), nth, from_there)) break;
                    check();
                    if (HasFailure()) return;
                }
            }
        }
    }
    int FileCount() const {
        return static_cast<int>(
            std::distance(std::filesystem::directory_iterator(Dir()), std::filesystem::directory_iterator()));
    }

  private:
    template <class Work>
    bool RunOne(Work const& work, SystemCall call, int nth, bool from_there) {
        FaultInjection faults;
        faults.OnlyBelow(root_.Path());
        if (from_there) {
            faults.FailFrom(call, nth, EIO);
        } else {
            faults.Fail(call, nth, EIO);
        }
        work();
        return faults.Fired() > 0;
    }
};

TEST_F(TextFaultTest, FirstTextIsStoredOrMissing) {
    int code = 0;
    WithEveryFault([this] { std::filesystem::remove_all(root_ / "cache"); },
                   [&] { code = cache_.Add("a", Text("alpha")); },
                   [&] {
                       EXPECT_EQ(code, 1);
                       EXPECT_THAT(Find("a"), AnyOf(Found{2, Text("alpha")}, Found{-4, Text("before")}));
                       EXPECT_EQ(cache_.Add("a", Text("newer")), 1);
                       EXPECT_EQ(Find("a"), (Found{2, Text("newer")}));
                   });
}

TEST_F(TextFaultTest, NewerTextIsStoredOrTheOlderOrNone) {
    int code = 0;
    WithEveryFault(
        [this] { cache_.Add("a", Text("older")); }, [&] { code = cache_.Add("a", Text("newer")); },
        [&] {
            EXPECT_EQ(code, 1);
            EXPECT_THAT(Find("a"), AnyOf(Found{2, Text("older")}, Found{2, Text("newer")}, Found{-4, Text("before")}));
        });
}

TEST_F(TextFaultTest, TextIsFoundOrNot) {
    cache_.Add("a", Text("alpha"));
    Found found;
    WithEveryFault([] {}, [&] { found = Find("a"); },
                   [&] {
                       EXPECT_THAT(found, AnyOf(Found{2, Text("alpha")}, Found{-13, QVKKeywordText()}));
                   });
    EXPECT_EQ(Find("a").code, 2);
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(TextFaultTest, FullDiskLeavesNothingBehind) {
    cache_.Add("a", Text("older"));
    {
        FaultInjection faults;
        faults.OnlyBelow(root_.Path());
        faults.FailFrom(SystemCall::kPwrite, 1, ENOSPC);
        EXPECT_EQ(cache_.Add("a", Text("alpha")), 1);
        EXPECT_GT(faults.Fired(), 0);
    }
    EXPECT_EQ(Find("a").code, -4);
    EXPECT_EQ(FileCount(), 0);
}

}  // namespace
