#include "sensrecord/DLPCacheSensRecordMgr.h"

#include <climits>
#include <thread>

#include "host/policy/KwLocateMgr.h"
#include "sensrecord/DLPCacheSensRecord.h"
#include "tests/sensrecord/SensRecordFixture.h"

namespace {

using testing::ElementsAre;

class SensRecordMgrTest : public SensRecordFixture {};

TEST_F(SensRecordMgrTest, FirstFindIsOneAndTheNextIsTwo) {
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 2);
    EXPECT_EQ(Count("/a.txt"), 3);
}

TEST_F(SensRecordMgrTest, EachKindOfCheckCountsApart) {
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", policy_), 1);
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", policy_), 2);
    EXPECT_EQ(manager_.GetPolicyFileFoundTimes("/a.txt", policy_), 1);
    EXPECT_EQ(manager_.GetToolFileFoundTimes("/a.txt", policy_), 1);
    EXPECT_EQ(manager_.GetPolicyFileFoundTimes("/a.txt", policy_), 2);
    EXPECT_EQ(Count("/a.txt", Mgr::kRealtimeCheck), 3);
    EXPECT_EQ(Count("/a.txt", Mgr::kPolicyCheck), 3);
    EXPECT_EQ(Count("/a.txt", Mgr::kToolCheck), 2);
}

TEST_F(SensRecordMgrTest, AnyOtherTypeCountsAsTool) {
    EXPECT_EQ(Count("/a.txt", static_cast<Mgr::DLP_CHECK_TYPE>(5)), 1);
    EXPECT_EQ(Count("/a.txt", static_cast<Mgr::DLP_CHECK_TYPE>(-1)), 2);
    EXPECT_EQ(Count("/a.txt", static_cast<Mgr::DLP_CHECK_TYPE>(INT_MAX)), 3);
    EXPECT_EQ(Count("/a.txt", Mgr::kToolCheck), 4);
    EXPECT_EQ(Count("/a.txt", Mgr::kRealtimeCheck), 1);
    EXPECT_EQ(Count("/a.txt", Mgr::kPolicyCheck), 1);
}

TEST_F(SensRecordMgrTest, NamesThatDifferInCaseCountApart) {
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/A.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 2);
}

TEST_F(SensRecordMgrTest, EmptyNameIsAName) {
    EXPECT_EQ(Count(""), 1);
    EXPECT_EQ(Count(""), 2);
}

TEST_F(SensRecordMgrTest, PolicyOfAnotherTimeBeginsAtOne) {
    CountTimes(3, "/a.txt");
    SetStamp(kStamp + 1);
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 2);
    SetStamp(kStamp);
    EXPECT_EQ(Count("/a.txt"), 1);
}

TEST_F(SensRecordMgrTest, CountsAreKeptForALaterProcess) {
    CountTimes(2, "/a.txt");
    EXPECT_EQ(CountLater("/a.txt"), 3);
    EXPECT_EQ(Count("/a.txt"), 4);
    SetStamp(kStamp + 1);
    EXPECT_EQ(CountLater("/a.txt"), 1);
}

TEST_F(SensRecordMgrTest, AnotherRootHasItsOwnCounts) {
    CountTimes(2, "/a.txt");
    TempRoot const other;
    EXPECT_EQ(Count("/a.txt"), 1);
    KwLocateMgr::pins()->set_root(HString(root_.Path()));
    EXPECT_EQ(Count("/a.txt"), 3);
}

TEST_F(SensRecordMgrTest, PoliciesCountApart) {
    QVKPolicySensitiveFileAuditNode const other = MakePolicy("P2");
    CountTimes(2, "/a.txt");
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", other), 1);
    EXPECT_EQ(Count("/a.txt"), 3);
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", other), 2);
}

TEST_F(SensRecordMgrTest, PoliciesOfOneRecordKeyCountApart) {
    QVKPolicySensitiveFileAuditNode const other = MakePolicy("P2");
    other.policy->record_key = policy_.policy->record_key;
    CountTimes(2, "/a.txt");
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", other), 1);
    EXPECT_EQ(Count("/a.txt"), 3);
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/a.txt", other), 2);
    EXPECT_EQ(manager_.GetRealTimeFileFoundTimes("/b.txt", other), 1);
    EXPECT_EQ(Count("/b.txt"), 1);
}

TEST_F(SensRecordMgrTest, PolicyWithoutAHeaderCountsToo) {
    policy_.policy = nullptr;
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 2);
    EXPECT_THAT(Files(Dir("%")), ElementsAre("0", "cache", "index"));
}

TEST_F(SensRecordMgrTest, ThereIsOneInstance) {
    Mgr* const instance = Mgr::pins();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(Mgr::pins(), instance);
    EXPECT_EQ(instance->GetRealTimeFileFoundTimes("/a.txt", policy_), 1);
    EXPECT_EQ(CountLater("/a.txt"), 2);
}

TEST_F(SensRecordMgrTest, RecordOfAKeyStaysTheSame) {
    auto* const record = manager_.GetDLPCacheSensRecord("key");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(manager_.GetDLPCacheSensRecord("key"), record);
    EXPECT_NE(manager_.GetDLPCacheSensRecord("Key"), record);
    EXPECT_NE(manager_.GetDLPCacheSensRecord(""), nullptr);
}

TEST_F(SensRecordMgrTest, CountingTakesTheRecordOfThePolicysKey) {
    auto* const record = manager_.GetDLPCacheSensRecord(policy_.policy->record_key);
    CountTimes(2, "/a.txt");
    DLPCache::SensRecordNode stored;
    // printf %s /a.txt | md5sum, in capitals
    EXPECT_EQ(record->Find("9006F38D4E95B6C190DD066845C9487D", stored), DLPCache::kSensRecordFound);
    EXPECT_EQ(stored.realtime_count, 2);
}

TEST_F(SensRecordMgrTest, LargestCountStays) {
    auto* const record = manager_.GetDLPCacheSensRecord(policy_.policy->record_key);
    record->Update(policy_);
    auto largest = MakeRecord(INT_MAX, INT_MAX - 1, 0);
    ASSERT_EQ(record->Add(HString("/a.txt").get_md5_std_format(""), largest), 1);
    EXPECT_EQ(Count("/a.txt", Mgr::kRealtimeCheck), INT_MAX);
    EXPECT_EQ(Count("/a.txt", Mgr::kPolicyCheck), INT_MAX);
    EXPECT_EQ(Count("/a.txt", Mgr::kPolicyCheck), INT_MAX);
    EXPECT_EQ(Count("/a.txt", Mgr::kToolCheck), 1);
}

TEST_F(SensRecordMgrTest, NegativeCountOfADamagedFileGoesUpByOneToo) {
    Count("/a.txt");
    WriteBytes(Dir() + "cache", FromHex("10000000 00000080 FEFFFFFF FFFFFFFF"));
    EXPECT_EQ(Count("/a.txt", Mgr::kRealtimeCheck), INT_MIN + 1);
    EXPECT_EQ(Count("/a.txt", Mgr::kPolicyCheck), -1);
    EXPECT_EQ(Count("/a.txt", Mgr::kToolCheck), 0);
}

TEST_F(SensRecordMgrTest, RecordThatCannotBeReadWholeCountsFromZero) {
    Count("/a.txt");
    for (char const* const hex : {"10000000 05000000 05000000", "0F000000 05000000 05000000 05000000", ""}) {
        WriteBytes(Dir() + "cache", FromHex(hex));
        EXPECT_EQ(Count("/a.txt"), 1) << hex;
        EXPECT_EQ(Count("/a.txt"), 2) << hex;
    }
}

TEST_F(SensRecordMgrTest, CountThatCannotBeStoredIsLost) {
    CountTimes(2, "/a.txt");
    WriteBytes(Dir() + "index", "damaged");
    EXPECT_EQ(Count("/a.txt"), 1);
    EXPECT_EQ(Count("/a.txt"), 1);
}

TEST_F(SensRecordMgrTest, SecondCountIsNotedByTheStoreAlone) {
    LogLines log;
    Count("/a.txt");
    EXPECT_THAT(log.TakeTexts(), testing::IsEmpty());
    Count("/a.txt");
    EXPECT_THAT(log.TakeTexts(), ElementsAre("this log should not appear. i_ret: 1"));
}

TEST_F(SensRecordMgrTest, CountUnderOneKeyWaitsForItsRecord) {
    auto* const record = manager_.GetDLPCacheSensRecord(policy_.policy->record_key);
    Count("/a.txt");
    record->Lock();
    int counted = 0;
    std::thread other([&] { counted = Count("/a.txt"); });
    int const mine = Count("/a.txt");  // the lock is re-entrant
    record->UnLock();
    other.join();
    EXPECT_EQ(mine, 2);
    EXPECT_EQ(counted, 3);
}

TEST_F(SensRecordMgrTest, CountUnderAnotherKeyDoesNotWait) {
    auto* const record = manager_.GetDLPCacheSensRecord("key of another policy");
    record->Lock();
    int counted = 0;
    std::thread([&] { counted = Count("/a.txt"); }).join();
    record->UnLock();
    EXPECT_EQ(counted, 1);
}

}  // namespace
