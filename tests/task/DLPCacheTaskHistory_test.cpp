#include <ctime>
#include <filesystem>

#include "tests/task/RegistryFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class DLPCacheTaskHistoryTest : public RegistryFixture {
  protected:
    // The realtime task of the policy "P1" in a version.
    static ScanTask& MakeRealtime(long long version, std::string const& time) {
        return MakeTaskOf(Policy("P1", version), "000000000000000-" + time);
    }
    // What the history makes of a running task of "P1" in version 100 under these policies.
    int StatusUnder(std::vector<QVKPolicySensitiveFileAuditNode> const& policies) {
        ScanTask& task = Add("A");
        task.status = kTaskRunning;
        SetPolicies(policies);
        EXPECT_THAT(HistoryIds(), ElementsAre("A"));
        return task.status;
    }
};

// The history.

TEST_F(DLPCacheTaskHistoryTest, HoldsEveryTaskNewestFirst) {
    Add("A", 2);
    Add("B", 3);
    Add("C", 1);
    EXPECT_THAT(HistoryIds(), ElementsAre("B", "A", "C"));
}

TEST_F(DLPCacheTaskHistoryTest, AppendsAndSortsWhatTheCallerHad) {
    ScanTask const& mine = MakeTask("mine", 2);
    Add("A", 1);
    Add("B", 3);
    Tasks tasks{&mine, &mine};
    registry_->GetTaskHistory(tasks);
    EXPECT_THAT(Ids(tasks), ElementsAre("B", "mine", "mine", "A"));
}

TEST_F(DLPCacheTaskHistoryTest, TaskOfAPolicyInForceStaysOpen) {
    EXPECT_EQ(StatusUnder({Policy("P1", 100)}), kTaskRunning);
}

TEST_F(DLPCacheTaskHistoryTest, TaskOfAChangedPolicyIsClosed) {
    ScanTask const& task = Add("A");
    std::filesystem::remove(RecordPath("A"));
    WriteFile("A", "SnapCache", "");
    SetPolicies({Policy("P1", 101)});
    long long const before = std::time(nullptr);
    EXPECT_THAT(HistoryIds(), ElementsAre("A"));
    EXPECT_EQ(task.status, kTaskFinished);
    EXPECT_GE(task.end_time, before);
    EXPECT_LE(task.end_time, std::time(nullptr));
    EXPECT_EQ(Record("A").status, kTaskFinished);
    EXPECT_EQ(Record("A").end_time, task.end_time);
    EXPECT_FALSE(HasSnapCache("A"));
}

TEST_F(DLPCacheTaskHistoryTest, TaskOfAChangedPolicyThatKeepsItsTasksStaysOpen) {
    EXPECT_EQ(StatusUnder({Policy("P1", 101, true)}), kTaskRunning);
}

TEST_F(DLPCacheTaskHistoryTest, KeepFlagThatCountsIsThatOfTheTable) {
    ScanTask const& task = AddOf(Policy("P1", 100, true), "A");
    SetPolicies({Policy("P1", 101, false)});
    (void)HistoryIds();
    EXPECT_EQ(task.status, kTaskFinished);
}

TEST_F(DLPCacheTaskHistoryTest, OfTwoPoliciesWithOneIdTheFirstCounts) {
    EXPECT_EQ(StatusUnder({Policy("P1", 100), Policy("P1", 101)}), kTaskRunning);
    EXPECT_EQ(StatusUnder({Policy("P1", 101), Policy("P1", 100)}), kTaskFinished);
    EXPECT_EQ(StatusUnder({Policy("P1", 101, true), Policy("P1", 101)}), kTaskRunning);
    EXPECT_EQ(StatusUnder({Policy("P1", 101), Policy("P1", 101, true)}), kTaskFinished);
}

TEST_F(DLPCacheTaskHistoryTest, OfAPolicyThatIsGoneTheLastOneOfTheTableDecides) {
    EXPECT_EQ(StatusUnder({Policy("P8"), Policy("P9", 100, true)}), kTaskRunning);
    EXPECT_EQ(StatusUnder({Policy("P8", 100, true), Policy("P9")}), kTaskFinished);
}

TEST_F(DLPCacheTaskHistoryTest, LastPolicyInOrderOfTheTableAndNotOfIdsDecides) {
    EXPECT_EQ(StatusUnder({Policy("P9"), Policy("P0", 100, true)}), kTaskRunning);
    EXPECT_EQ(StatusUnder({Policy("P9", 100, true), Policy("P0")}), kTaskFinished);
}

TEST_F(DLPCacheTaskHistoryTest, EmptyTableClosesEveryOpenTaskButRealtimeOnes) {
    Add("A");
    ScanTask& created = MakeTask("B");
    created.status = kTaskCreated;
    registry_->AddTask(&created);
    ScanTask& realtime = MakeRealtime(0, "19700101000000");
    registry_->AddTask(&realtime);
    SetPolicies({});
    EXPECT_THAT(HistoryIds(), UnorderedElementsAre("A", "B", realtime.id.get_str()));
    EXPECT_EQ(StatusOf("A"), kTaskFinished);
    EXPECT_EQ(StatusOf("B"), kTaskFinished);
    EXPECT_EQ(realtime.status, kTaskRunning);
}

TEST_F(DLPCacheTaskHistoryTest, TaskThatIsOverStaysAsItIs) {
    for (int const status : {kTaskFinished, kTaskEnded}) {
        ScanTask& task = MakeTask("A" + std::to_string(status));
        task.status = status;
        task.end_time = 7;
        registry_->AddTask(&task);
    }
    WriteFile("A4", "SnapCache", "");
    SetPolicies({});
    EXPECT_THAT(HistoryIds(), UnorderedElementsAre("A3", "A4"));
    EXPECT_EQ(StatusOf("A4"), kTaskEnded);
    EXPECT_EQ(registry_->GetTask("A3")->end_time, 7);
    EXPECT_EQ(registry_->GetTask("A4")->end_time, 7);
    EXPECT_TRUE(HasSnapCache("A4"));
}

TEST_F(DLPCacheTaskHistoryTest, TaskOfAnUnknownStatusIsTakenAsOpen) {
    ScanTask& task = Add("A");
    task.status = 77;
    SetPolicies({});
    (void)HistoryIds();
    EXPECT_EQ(task.status, kTaskFinished);
}

TEST_F(DLPCacheTaskHistoryTest, NothingIsWrittenForATaskThatStaysOpen) {
    Add("A");
    std::filesystem::remove(RecordPath("A"));
    (void)HistoryIds();
    EXPECT_FALSE(Exists(RecordPath("A")));
}

// The last task.

TEST_F(DLPCacheTaskHistoryTest, LastOfEqualOnesIsTheFirst) {
    ScanTask const& a = MakeTask("A", 1);
    ScanTask const& b = MakeTask("B", 2);
    ScanTask const& c = MakeTask("C", 2);
    EXPECT_EQ(registry_->GetTaskLast({&a, &b, &c}), &b);
    EXPECT_EQ(registry_->GetTaskLast({&a, &c, &b}), &c);
}

TEST_F(DLPCacheTaskHistoryTest, LastSkipsNullsAndIsNullOfNone) {
    ScanTask const& a = MakeTask("A", -5);
    EXPECT_EQ(registry_->GetTaskLast({nullptr, &a, nullptr}), &a);
    EXPECT_EQ(registry_->GetTaskLast({nullptr, nullptr}), nullptr);
    EXPECT_EQ(registry_->GetTaskLast(Tasks{}), nullptr);
}

TEST_F(DLPCacheTaskHistoryTest, LastOfAllIsThatOfTheHistory) {
    EXPECT_EQ(registry_->GetTaskLast(), nullptr);
    Add("A", 1);
    ScanTask const& b = Add("B", 2);
    SetPolicies({});
    EXPECT_EQ(registry_->GetTaskLast(), &b);
    EXPECT_EQ(StatusOf("A"), kTaskFinished);  // the history was asked, which closes
}

// By policy.

TEST_F(DLPCacheTaskHistoryTest, TasksOfAPolicyAreOldestFirst) {
    Add("A", 3);
    Add("B", 1);
    AddOf(Policy("P2"), "other").start_time = 2;
    AddOf(Policy("p1"), "other case").start_time = 2;
    Add("C", 2);
    ScanTask const& mine = MakeTask("mine", 0);
    Tasks tasks{&mine};
    registry_->GetTaskByPolicyID("P1", tasks);
    EXPECT_THAT(Ids(tasks), ElementsAre("mine", "B", "C", "A"));
    EXPECT_EQ(registry_->GetTaskLastByPolicyID("P1")->id.get_str(), "A");
    EXPECT_EQ(registry_->GetTaskLastByPolicyID("P9"), nullptr);
}

TEST_F(DLPCacheTaskHistoryTest, QueriesByPolicyCloseNothing) {
    ScanTask const& task = Add("A");
    SetPolicies({});
    Tasks tasks;
    registry_->GetTaskByPolicyID("P1", tasks);
    registry_->GetPolicyTaskByPolicyID("P1", tasks);
    registry_->GetTaskRealtime(tasks);
    EXPECT_EQ(task.status, kTaskRunning);
}

TEST_F(DLPCacheTaskHistoryTest, PolicyTasksLeaveOutRealtimeTasksAndOtherKinds) {
    Add("A", 2);
    ScanTask& tool = MakeTask("tool", 5);
    *tool.policy->kind = 1;
    registry_->AddTask(&tool);
    ScanTask& realtime = MakeRealtime(60, "19700101000100");
    realtime.start_time = 6;
    registry_->AddTask(&realtime);
    Add("B", 1);
    ScanTask const& mine = MakeTask("mine", 9);
    Tasks tasks{&mine};
    registry_->GetPolicyTaskByPolicyID("P1", tasks);
    EXPECT_THAT(Ids(tasks), ElementsAre("B", "A", "mine"));
    EXPECT_EQ(registry_->GetPolicyTaskLastByPolicyID("P1")->id.get_str(), "A");
    EXPECT_EQ(registry_->GetPolicyTaskLastByPolicyID("P2"), nullptr);
    tasks.clear();
    registry_->GetTaskByPolicyID("P1", tasks);
    EXPECT_THAT(Ids(tasks), ElementsAre("B", "A", "tool", realtime.id.get_str()));
}

TEST_F(DLPCacheTaskHistoryTest, RealtimeTasksAreNewestFirst) {
    ScanTask& early = MakeRealtime(60, "19700101000100");
    early.start_time = 1;
    ScanTask& late = MakeRealtime(120, "19700101000200");
    late.start_time = 3;
    registry_->AddTask(&late);
    registry_->AddTask(&early);
    Add("A", 2);
    ScanTask const& mine = MakeTask("mine", 2);
    Tasks tasks{&mine};
    registry_->GetTaskRealtime(tasks);
    EXPECT_THAT(Ids(tasks), ElementsAre(late.id.get_str(), "mine", early.id.get_str()));
}

TEST_F(DLPCacheTaskHistoryTest, NullsThatTheCallerHadComeLastInEveryQuery) {
    Add("A", 1);
    Add("B", 2);
    ScanTask& realtime = MakeRealtime(60, "19700101000100");
    realtime.start_time = 3;
    registry_->AddTask(&realtime);
    ScanTask const& mine = MakeTask("mine", 4);
    Tasks const before{nullptr, &mine, nullptr};
    Tasks history = before;
    registry_->GetTaskHistory(history);
    EXPECT_THAT(Ids(history), ElementsAre("mine", realtime.id.get_str(), "B", "A", "(null)", "(null)"));
    Tasks of_policy = before;
    registry_->GetTaskByPolicyID("P1", of_policy);
    EXPECT_THAT(Ids(of_policy), ElementsAre("A", "B", realtime.id.get_str(), "mine", "(null)", "(null)"));
    Tasks by_policy = before;
    registry_->GetPolicyTaskByPolicyID("P1", by_policy);
    EXPECT_THAT(Ids(by_policy), ElementsAre("A", "B", "mine", "(null)", "(null)"));
    Tasks realtimes = before;
    registry_->GetTaskRealtime(realtimes);
    EXPECT_THAT(Ids(realtimes), ElementsAre("mine", realtime.id.get_str(), "(null)", "(null)"));
}

TEST_F(DLPCacheTaskHistoryTest, QueriesOfAnEmptyRegistryAreEmpty) {
    Tasks tasks;
    registry_->GetTaskHistory(tasks);
    registry_->GetTaskByPolicyID("", tasks);
    registry_->GetPolicyTaskByPolicyID("", tasks);
    registry_->GetTaskRealtime(tasks);
    EXPECT_THAT(tasks, IsEmpty());
}

}  // namespace
