// Memory that runs out.
#include <filesystem>
#include <memory>
#include <new>

#include "task/DLPCacheTaskStore.h"
#include "tests/support/fault/EveryAllocation.h"
#include "tests/support/fault/Unreadable.h"
#include "tests/task/RemovalFixture.h"

namespace {

using fault::WithEveryFailure;
using testing::AnyOf;
using testing::IsSubsetOf;
namespace fs = std::filesystem;

class DLPCacheTaskMgrMemoryTest : public RemovalFixture {
  protected:
    DLPCacheTaskMgrMemoryTest() { Restart(); }

    void ClearTasks() {
        fs::remove_all(TaskPath());
        Restart();
    }
    // An id for each attempt that must find nothing of an earlier one.
    HString NextId() { return HString("task " + std::to_string(++attempts_)); }

    HString const id_ = "A";
    HString const policy_id_ = "P1";
    int attempts_ = 0;
};

TEST_F(DLPCacheTaskMgrMemoryTest, StartDeletesNothingAndRegistersWholeTasks) {
    WriteRecord("A", MakeTask("A", 7));
    WriteRecord("B", MakeTask("B", 8));
    WithEveryFailure([&] { registry_.reset(); }, [&] { registry_.reset(new (std::nothrow) DLPCacheTaskMgr); },
                     [&] {
                         EXPECT_EQ(Record("A").start_time, 7);
                         if (!registry_) return;
                         EXPECT_FALSE(registry_->IsExistTask(""));
                         EXPECT_THAT(HistoryIds(), IsSubsetOf({"A", "B"}));
                         ASSERT_NE(registry_->GetTask("A"), nullptr);
                         EXPECT_EQ(registry_->GetTask("A")->start_time, 7);
                     });
}

TEST_F(DLPCacheTaskMgrMemoryTest, TaskIsAddedWholeOrNotAtAll) {
    ScanTask* task = nullptr;
    WithEveryFailure([&] { ClearTasks(), task = &MakeTask("A", 7); }, [&] { registry_->AddTask(task); },
                     [&] {
                         EXPECT_EQ(task->id.get_str(), "A");
                         EXPECT_THAT(registry_->GetTask("A"), AnyOf(task, nullptr));
                         if (Exists(TaskPath("A", "ScanTask.arc"))) {
                             EXPECT_EQ(Record("A").start_time, 7);
                         }
                         registry_->AddTask(task);
                         EXPECT_EQ(registry_->GetTask("A"), task);
                         EXPECT_EQ(Record("A").start_time, 7);
                     });
}

TEST_F(DLPCacheTaskMgrMemoryTest, ReloadedTaskIsTheCallersOrTheRecords) {
    ScanTask* task = nullptr;
    ScanTask& recorded = MakeTaskOf(Policy("P2"), "A");
    recorded.start_time = 8;
    WithEveryFailure([&] { ClearTasks(), WriteRecord("A", recorded), Restart(), task = &MakeTask("A", 7); },
                     [&] { registry_->AddTask(task); },
                     [&] {
                         ASSERT_THAT(task->start_time, AnyOf(7, 8));
                         EXPECT_EQ(task->id.get_str(), "A");
                         EXPECT_EQ(task->audit_node().header().id.get_str(), task->start_time == 7 ? "P1" : "P2");
                         EXPECT_EQ(registry_->GetTask("A") == task, task->start_time == 8);
                         EXPECT_EQ(Record("A").start_time, 8);
                     });
}

TEST_F(DLPCacheTaskMgrMemoryTest, TaskIsReadWholeOrNull) {
    ScanTask const* task = nullptr;
    WithEveryFailure([&] { ClearTasks(), WriteRecord("A", MakeTask("A", 7)); }, [&] { task = registry_->GetTask(id_); },
                     [&] {
                         EXPECT_FALSE(registry_->IsExistTask(""));
                         if (!task) return;
                         EXPECT_EQ(task->start_time, 7);
                         EXPECT_EQ(registry_->GetTask("A"), task);
                     });
    EXPECT_NE(task, nullptr);
}

TEST_F(DLPCacheTaskMgrMemoryTest, StatusIsSetAndTheRecordStaysWhole) {
    ScanTask const& task = Add("A", 7);
    WithEveryFailure([&] { registry_->UpdateTaskStatus("A", kTaskRunning); },
                     [&] { registry_->UpdateTaskStatus(id_, kTaskEnded); },
                     [&] {
                         EXPECT_EQ(task.status, kTaskEnded);
                         EXPECT_THAT(Record("A").status, AnyOf(int{kTaskRunning}, int{kTaskEnded}));
                     });
}

TEST_F(DLPCacheTaskMgrMemoryTest, HistoryClosesNoTaskOfAPolicyInForce) {
    ScanTask const& open = Add("A", 1);
    ScanTask const& closed = AddOf(Policy("P1", 99), "B");
    ScanTask const& realtime = AddOf(Policy("gone", 60), "000000000000000-19700101000100");
    Tasks history;
    WithEveryFailure([&] { history.clear(); }, [&] { registry_->GetTaskHistory(history); },
                     [&] {
                         EXPECT_THAT(history, IsSubsetOf({&open, &closed, &realtime}));
                         EXPECT_EQ(open.status, kTaskRunning);
                         EXPECT_EQ(realtime.status, kTaskRunning);
                     });
    EXPECT_EQ(history.size(), 3U);
    EXPECT_EQ(closed.status, kTaskFinished);
}

TEST_F(DLPCacheTaskMgrMemoryTest, QueriesGiveWholeListsOrParts) {
    ScanTask const& a = Add("A", 1);
    ScanTask const& b = Add("B", 2);
    ScanTask const& realtime = AddOf(Policy("P1", 60), "000000000000000-19700101000100");
    Tasks tasks;
    auto const work = [&] {
        registry_->GetTaskByPolicyID(policy_id_, tasks);
        registry_->GetPolicyTaskByPolicyID(policy_id_, tasks);
        registry_->GetTaskRealtime(tasks);
        (void)registry_->GetTaskLast();
        (void)registry_->GetTaskLastByPolicyID(policy_id_);
    };
    WithEveryFailure([&] { tasks.clear(); }, work,
                     [&] { EXPECT_THAT(tasks, testing::Each(AnyOf(&a, &b, &realtime))); });
    EXPECT_EQ(tasks.size(), 6U);
}

// Of the process's own registry and caches.

TEST_F(DLPCacheTaskMgrMemoryTest, RemovedTaskIsGoneOrCanBeRemovedAgain) {
    (void)Registry(), (void)Caches();
    ScanTask* task = nullptr;
    WithEveryFailure([&] { task = &AddUser(NextId().get_str(), {"T1"}, Writer::kNever); },
                     [&] { Registry().DelTask(*task); },
                     [&] {
                         EXPECT_EQ(Registry().IsTaskRelease(task), !Registry().IsExistTask(task->id));
                         if (Registry().IsExistTask(task->id)) Registry().DelTask(*task);
                         EXPECT_TRUE(Registry().IsTaskRelease(task));
                         if (Exists(TaskPath(task->id.get_str()))) {
                             Registry().DelTask(*task);
                         }
                         EXPECT_FALSE(Exists(TaskPath(task->id.get_str())));
                     });
}

TEST_F(DLPCacheTaskMgrMemoryTest, RemovalDeletesNoCacheInUse) {
    std::string const md5 = MakeCache();
    AddUser("user", {"T1"}, Writer::kNever);
    Edit("T1");
    ScanTask* task = nullptr;
    WithEveryFailure(
        [&] {
            task = &MakeUser(NextId().get_str());
            fs::copy(TaskPath("user"), TaskPath(task->id.get_str()));
            WriteRecord(task->id.get_str(), *task);
            Registry().AddTask(task);
        },
        [&] { Registry().DelTask(*task); },
        [&] {
            EXPECT_TRUE(HasCache(md5));
            Registry().DelTask(*task);
        });
    EXPECT_TRUE(HasCache(md5));
    Registry().DelTask(*Registry().GetTask("user"));
    EXPECT_FALSE(HasCache(md5));
}

TEST_F(DLPCacheTaskMgrMemoryTest, PruningDeletesNoCacheInUseAndNoCurrentOne) {
    std::string const used = MakeCache();
    AddUser("user", {"T1"}, Writer::kNever);
    Edit("T1");
    std::string const unused = MakeCache();
    Edit("T1");
    std::string const current = MakeCache();
    WithEveryFailure([] { Caches().UpdataCache(); },
                     [&] {
                         EXPECT_TRUE(HasCache(used));
                         EXPECT_TRUE(HasCache(current));
                     });
    EXPECT_FALSE(Caches().DeleteCache(HString(unused)));  // forgotten, whatever could be deleted of it
}

TEST_F(DLPCacheTaskMgrMemoryTest, PruningDeletesNoCacheAfterItFailedToReadARecordAgain) {
    std::string const md5 = MakeCache();
    { DLPCacheTaskStore const of_an_earlier_process(MakeUser("A")); }
    WriteRecord("A", MakeUser("A"));
    Unreadable const record(RecordPath("A"));
    Edit("T1");
    (void)Registry();
    WithEveryFailure([] { Caches().UpdataCache(); },
                     [&] {
                         EXPECT_TRUE(HasCache(md5));
                         Caches().UpdataCache();
                         EXPECT_TRUE(HasCache(md5));
                     });
}

}  // namespace
