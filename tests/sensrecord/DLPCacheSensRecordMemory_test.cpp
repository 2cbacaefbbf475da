// Memory that runs out.
#include <filesystem>
#include <optional>

#include "sensrecord/DLPCacheSensRecord.h"
#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/support/fault/EveryAllocation.h"

namespace {

namespace fs = std::filesystem;
using fault::Extent;
using fault::WithEveryFailure;
using testing::AnyOf;

class SensRecordMemoryTest : public SensRecordFixture {
  protected:
    int CountA() { return manager_.GetRealTimeFileFoundTimes(a_, policy_); }

    HString const a_ = "/a file with a name.txt";
};

TEST_F(SensRecordMemoryTest, CountIsMadeOrLost) {
    CountTimes(2, "/of others");
    int others = 2;
    int counted = 0;
    WithEveryFailure([&] { counted = CountA(); },
                     [&] {
                         EXPECT_GE(counted, 1);
                         EXPECT_GE(CountA(), counted);
                         EXPECT_EQ(Count("/of others"), ++others);
                     });
}

TEST_F(SensRecordMemoryTest, FirstCountLeavesNothingUnusable) {
    std::optional<Mgr> manager;
    int counted = 0;
    WithEveryFailure(
        [&] {
            manager.emplace();
            fs::remove_all(root_ / "cache");
        },
        [&] { counted = manager->GetRealTimeFileFoundTimes(a_, policy_); },
        [&] {
            EXPECT_EQ(counted, 1);
            int const next = manager->GetRealTimeFileFoundTimes(a_, policy_);
            EXPECT_THAT(next, AnyOf(1, 2));
            EXPECT_EQ(manager->GetRealTimeFileFoundTimes(a_, policy_), next + 1);
            EXPECT_EQ(CountA(), next + 2);
        });
}

TEST_F(SensRecordMemoryTest, NothingIsDeletedThatShouldStay) {
    CountTimes(3, "/of others");
    WriteBytes(root_ / "cache/sensrecord/file", "stays");
    int others = 3;
    std::optional<Mgr> later;
    WithEveryFailure([&] { later.emplace(); }, [&] { (void)later->GetRealTimeFileFoundTimes(a_, policy_); },
                     [&] { EXPECT_EQ(CountLater("/of others"), ++others); });
    EXPECT_EQ(ReadBytes(root_ / "cache/sensrecord/file"), "stays");
}

TEST_F(SensRecordMemoryTest, NoCountOfAnotherVersionIsTold) {
    int counted = 0;
    WithEveryFailure(
        [this] {
            SetStamp(kStamp);
            for (int i = 0; i < 4; ++i)
                (void)CountA();
            Count("/b.txt");
            SetStamp(kStamp + 1);
        },
        [&] { counted = CountA(); },
        [&] {
            EXPECT_EQ(counted, 1);
            EXPECT_EQ(Count("/b.txt"), 1);
            EXPECT_THAT(CountA(), AnyOf(1, 2));
        });
}

TEST_F(SensRecordMemoryTest, RecordIsEncodedOrRefused) {
    DLPCache::DLPCacheSensRecord record;
    record.Update(policy_);
    auto node = MakeRecord(1, 2, 3);
    int code = 0;
    bool refused = false;
    WithEveryFailure([&] { code = record.Add(a_, node); },
                     [&] {
                         EXPECT_THAT(code, AnyOf(1, -17, -10));
                         refused = refused || code == -17;
                     });
    EXPECT_TRUE(refused);
}

TEST_F(SensRecordMemoryTest, RecordThatIsNotEncodedHasItsLine) {
    LogLines log;
    DLPCache::DLPCacheSensRecord record;
    record.Update(policy_);
    auto node = MakeRecord(1, 2, 3);
    int code = 0;
    {
        AllocationFailure const failure(1);
        code = record.Add(a_, node);
    }
    EXPECT_EQ(code, -17);
    EXPECT_THAT(TakeOwn(log), testing::ElementsAre(Assertion("Add", 228, "FALSE")));
}

TEST_F(SensRecordMemoryTest, RecordIsFoundOrNot) {
    DLPCache::DLPCacheSensRecord record;
    record.Update(policy_);
    auto node = MakeRecord(1, 2, 3);
    ASSERT_EQ(record.Add(a_, node), 1);
    int code = 0;
    DLPCache::SensRecordNode found;
    WithEveryFailure([&] { found = MakeRecord(0, 0, 0); }, [&] { code = record.Find(a_, found); },
                     [&] {
                         EXPECT_THAT(code, AnyOf(2, -13));
                         EXPECT_TRUE(SameCounts(found, code == 2 ? MakeRecord(1, 2, 3) : MakeRecord(0, 0, 0)));
                     });
}

TEST_F(SensRecordMemoryTest, MissingRecordIsToldAndCountsAsTheFirstFind) {
    LogLines log;
    CountTimes(2, "/a.txt");
    (void)log.Take();
    policy_.policy->record_key = "a key that has no record yet";
    int counted = 0;
    {
        AllocationFailure const failure(1);
        counted = CountA();
    }
    EXPECT_EQ(counted, 1);
    EXPECT_THAT(TakeOwn(log), testing::ElementsAre("1 271 pSensRecord is NULL."));
    EXPECT_EQ(Count("/a.txt"), 3);
}

TEST_F(SensRecordMemoryTest, RecordIsMadeOnceThereIsMemory) {
    DLPCache::DLPCacheSensRecord* record = nullptr;
    HString const key = "key";
    WithEveryFailure([&] { record = manager_.GetDLPCacheSensRecord(key); },
                     [&] { EXPECT_NE(manager_.GetDLPCacheSensRecord("key"), nullptr); });
    EXPECT_EQ(record, manager_.GetDLPCacheSensRecord("key"));
}

TEST_F(SensRecordMemoryTest, InstanceIsMissingWithoutMemory) {
    {
        AllocationFailure const failure(1, Extent::kAllFromThere);
        EXPECT_EQ(Mgr::pins(), nullptr);
    }
}

}  // namespace
