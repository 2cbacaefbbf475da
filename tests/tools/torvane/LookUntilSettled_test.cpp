#include <gmock/gmock.h>

#include "tests/support/TempRoot.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/check/RootCheck.h"

namespace {

using torvane::ChangeWatch;
using torvane::FindingList;
using torvane::Reporter;
using torvane::Severity;

class LookUntilSettledAt : public testing::Test {
  protected:
    LookUntilSettledAt() { WriteBytes(file_, ""); }

    // Looks that find damage when `is_damaged` says so and after which the file is written when `is_written` says so;
    // both are given the number of the look.
    template <class IsDamaged, class IsWritten>
    void Look(IsDamaged is_damaged, IsWritten is_written) {
        torvane::LookUntilSettled(list_, "file", [&](FindingList& list, ChangeWatch& watch) {
            ++looks_;
            watch.Add(file_);
            if (is_damaged(looks_)) Reporter(list, "file").Damage("stray", {}, "damaged", "nothing");
            if (is_written(looks_)) WriteBytes(file_, std::string(static_cast<std::size_t>(looks_), 'x'));
        });
    }
    static bool Always(int) { return true; }
    static bool Never(int) { return false; }

    TempRoot root_;
    std::string file_ = root_ / "file";
    FindingList list_;
    int looks_ = 0;
};

TEST_F(LookUntilSettledAt, WhatIsSoundIsLookedAtOnceAlthoughItIsWritten) {
    Look(Never, Always);
    EXPECT_EQ(looks_, 1);
    EXPECT_TRUE(list_.kept().empty());
}

TEST_F(LookUntilSettledAt, WhatKeepsChangingIsBusyAndNotDamaged) {
    Look(Always, Always);
    EXPECT_EQ(looks_, 4);
    EXPECT_EQ(list_.Count(Severity::kDamage), 0U);
    EXPECT_EQ(list_.Count(Severity::kBusy), 1U);
}

TEST_F(LookUntilSettledAt, DamageThatGoesAwayWasNone) {
    Look([](int look) { return look == 1; }, [](int look) { return look == 1; });
    EXPECT_EQ(looks_, 2);
    EXPECT_TRUE(list_.kept().empty());
}

TEST_F(LookUntilSettledAt, DamageThatStaysCountsOnce) {
    Look(Always, Never);
    EXPECT_EQ(list_.Count(Severity::kDamage), 1U);
    EXPECT_EQ(list_.Count(Severity::kBusy), 0U);
}

TEST_F(LookUntilSettledAt, WhatCannotBeReadIsTold) {
    torvane::LookUntilSettled(list_, "file",
                              [](FindingList&, ChangeWatch&) { throw torvane::Stop(torvane::ExitStatus::kIo, "no"); });
    EXPECT_EQ(list_.Count(Severity::kUnreadable), 1U);
}

}  // namespace
