#include <algorithm>
#include <numeric>

#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/support/OnAllThreads.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 25;

class SensRecordThreadsTest : public SensRecordFixture {
  protected:
    // What `count(thread)` gives, kRounds times on each of the threads, by thread.
    template <class Counting>
    static std::vector<std::vector<int>> CountOnAllThreads(Counting const& count) {
        std::vector<std::vector<int>> counted(kThreads);
        OnAllThreads(kThreads, [&](int thread) {
            for (int round = 0; round < kRounds; ++round)
                counted[static_cast<std::size_t>(thread)].push_back(count(thread));
        });
        return counted;
    }
    static std::vector<int> UpTo(int last) {
        std::vector<int> numbers(static_cast<std::size_t>(last));
        std::iota(numbers.begin(), numbers.end(), 1);
        return numbers;
    }
};

TEST_F(SensRecordThreadsTest, NoCountOfOneFileIsLostOrDoubled) {
    std::vector<int> all;
    for (auto const& counted : CountOnAllThreads([&](int) { return Count("/a.txt"); })) {
        EXPECT_TRUE(std::is_sorted(counted.begin(), counted.end()));
        all.insert(all.end(), counted.begin(), counted.end());
    }
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, UpTo(kThreads * kRounds));
    EXPECT_EQ(CountLater("/a.txt"), kThreads * kRounds + 1);
}

TEST_F(SensRecordThreadsTest, FilesOfOnePolicyDoNotDisturbEachOther) {
    auto const counted = CountOnAllThreads([&](int thread) { return Count("/" + std::to_string(thread)); });
    EXPECT_THAT(counted, testing::Each(UpTo(kRounds)));
}

TEST_F(SensRecordThreadsTest, PoliciesCountSideBySide) {
    auto const counted = CountOnAllThreads(
        [&](int thread) { return manager_.GetToolFileFoundTimes("/a.txt", MakePolicy("P" + std::to_string(thread))); });
    EXPECT_THAT(counted, testing::Each(UpTo(kRounds)));
}

TEST_F(SensRecordThreadsTest, PoliciesOfOneRecordKeyCountSideBySide) {
    auto const counted = CountOnAllThreads([&](int thread) {
        QVKPolicySensitiveFileAuditNode const policy = MakePolicy("P" + std::to_string(thread));
        policy.policy->record_key = "one key";
        return manager_.GetToolFileFoundTimes("/a.txt", policy);
    });
    EXPECT_THAT(counted, testing::Each(UpTo(kRounds)));
}

TEST_F(SensRecordThreadsTest, KindsOfOneFileCountApart) {
    auto const counted =
        CountOnAllThreads([&](int thread) { return Count("/a.txt", static_cast<Mgr::DLP_CHECK_TYPE>(thread % 2)); });
    for (int kind = 0; kind < 2; ++kind) {
        std::vector<int> all;
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            if (static_cast<int>(thread) % 2 == kind)
                all.insert(all.end(), counted[thread].begin(), counted[thread].end());
        }
        std::sort(all.begin(), all.end());
        EXPECT_EQ(all, UpTo(kThreads / 2 * kRounds));
    }
}

TEST_F(SensRecordThreadsTest, InstanceIsMadeOnce) {
    std::vector<Mgr*> instances(kThreads);
    CountOnAllThreads([&](int thread) {
        instances[static_cast<std::size_t>(thread)] = Mgr::pins();
        return Mgr::pins()->GetRealTimeFileFoundTimes("/a.txt", policy_);
    });
    EXPECT_THAT(instances, testing::Each(Mgr::pins()));
    EXPECT_EQ(CountLater("/a.txt"), kThreads * kRounds + 1);
}

}  // namespace
