// Eight threads, each with one kind of work on the registry or the template caches: pruning, removing and adding tasks,
// recording, looking up, history and queries, changes of status and policies, rebuilding, start-up. Made for
// ThreadSanitizer and its deadlock detector, which sees two locks taken in both orders even when no thread waits.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/stress/StressAgent.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"

namespace {

using namespace stress;

constexpr int kSlots = 4;  // tasks at one time
constexpr int kOperations = 150;
constexpr int kRemovals = 30;     // each waits for a queue, up to half a second
constexpr int kPatience = 60000;  // milliseconds until a queue must be written

// A place for one task after the other.
struct Slot {
    std::shared_mutex gate;  // held shared while something is recorded for the task
    HString task_id;
    std::atomic<int> recorded{0};
};

class TaskStressTest : public testing::TestWithParam<bool> {
  protected:
    TaskStressTest() {
        if (GetParam()) log_ = std::make_unique<LogLines>();
    }

    static DLPCacheTaskMgr& Registry() { return *DLPCacheTaskMgr::pins(); }
    static DLPCacheTplMgr& Caches() { return *DLPCacheTplMgr::pins(); }

    void BeginTask(Slot& slot) {
        auto* const task = new ScanTask;  // the registry wants it for the life of the process
        int const number = begun_.fetch_add(1);
        task->id = HString("task " + std::to_string(number));
        task->start_time = number;
        task->status = kTaskRunning;
        task->policy->audit_node->policy->id = HString("policy " + std::to_string(number % 3));
        task->policy->audit_node->tpl_ids = EveryTpl();
        Registry().AddTask(task);
        slot.task_id = task->id;
        slot.recorded = 0;
    }
    static SensFile File(HString const& task_id, int number) {
        SensFile file;
        file.task_id = task_id;
        file.file_path = HString("/data/" + std::to_string(number));
        file.file_md5 = "md5";
        file.tpl_ids = EveryTpl();
        return file;
    }
    HString AnyId(std::mt19937& random) { return HString("task " + std::to_string(random() % (kSlots + kRemovals))); }
    Slot& AnySlot(std::mt19937& random) { return slots_[random() % kSlots]; }

    // One operation of each kind of work.

    void Prune(std::mt19937& random) {
        agent_.Replace(random);
        Caches().UpdataCache();
    }
    void Scan(std::mt19937& random) {
        for (HString const& id : EveryTpl()) {
            auto const* const tpl = KwDefineMgr::pins()->get_tpl_by_id(id);
            if (!tpl) continue;
            DLPCacheTpl* const cache = Caches().GetCache(*tpl, KwDefineMgr::pins()->get_md5_by_tpl(*tpl));
            ASSERT_NE(cache, nullptr);
            (void)cache->Add(md5s_[random() % md5s_.size()], {}, {}, "name");
        }
    }
    void Remove(std::mt19937& random) {
        Slot& slot = AnySlot(random);
        std::unique_lock const lock(slot.gate);
        ASSERT_TRUE(Registry().WaitWritten(slot.task_id, kPatience));
        CheckFindings(slot);
        ScanTask const* const task = Registry().GetTask(slot.task_id);
        ASSERT_NE(task, nullptr);
        Registry().DelTask(*task);
        EXPECT_TRUE(Registry().IsTaskRelease(task));
        EXPECT_FALSE(Registry().IsExistTask(slot.task_id));
        BeginTask(slot);
    }
    void Record(std::mt19937& random) {
        Slot& slot = AnySlot(random);
        std::shared_lock const lock(slot.gate);
        DLPCacheTask* const writer = Registry().GetCache(slot.task_id);
        ASSERT_NE(writer, nullptr);
        EXPECT_EQ(writer->AddNumbered(File(slot.task_id, 0)), 1);
        slot.recorded.fetch_add(1);
    }
    void LookUp(std::mt19937& random) {
        (void)Registry().GetTaskTplMd5(AnyId(random), HString(TplId(static_cast<int>(random() % kTemplates))));
        (void)Registry().IsExistTask(AnyId(random));
        (void)Registry().GetOpenedCache(AnyId(random));
        (void)Registry().WaitAllWritten(0);
        SensFile file;
        (void)Registry().FindTaskSensFileBySN(AnyId(random), 1, file);
    }
    void Query(std::mt19937& random) {
        std::vector<ScanTask const*> tasks;
        Registry().GetTaskHistory(tasks);
        Registry().GetTaskByPolicyID("policy 1", tasks);
        Registry().GetPolicyTaskByPolicyID("policy 2", tasks);
        Registry().GetTaskRealtime(tasks);
        EXPECT_GE(tasks.size(), std::size_t{kSlots - 1});
        for (ScanTask const* task : tasks)
            EXPECT_EQ(task->id.get_str().substr(0, 5), "task ");
        (void)Registry().GetTaskCountByTask(*tasks[random() % tasks.size()]);
    }
    void Change(std::mt19937& random) {
        QVKPolicySensitiveFileAuditVT policies;
        for (unsigned i = 0; i < 3; ++i) {
            auto& node = policies.nodes.emplace_back();
            node.policy->id = HString("policy " + std::to_string(i));
            node.policy->time_stamp = static_cast<long long>(random() % 2);
            node.keep = random() % 2 == 0;
        }
        ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(policies));
        Registry().UpdateTaskStatus(AnyId(random), static_cast<int>(1 + random() % 4));
    }
    void Rebuild(std::mt19937& random) {
        QVKKeywordMatchResult result;
        Registry().GetSensFileResult(File(AnyId(random), 1), result);
        EXPECT_EQ(result.match_items.size(), 1U);
    }

    void CheckFindings(Slot& slot) {
        for (int number = 1; number <= slot.recorded; ++number) {
            SensFile file;
            EXPECT_TRUE(Registry().FindTaskSensFileBySN(slot.task_id, number, file)) << number;
            EXPECT_EQ(file.file_path.get_str(), "/data/0") << number;
        }
    }

    using Work = void (TaskStressTest::*)(std::mt19937&);
    void RunAll() {
        std::array<std::pair<Work, int>, 8> const works{{{&TaskStressTest::Prune, kOperations},
                                                         {&TaskStressTest::Scan, kOperations},
                                                         {&TaskStressTest::Remove, kRemovals},
                                                         {&TaskStressTest::Record, kOperations},
                                                         {&TaskStressTest::LookUp, kOperations},
                                                         {&TaskStressTest::Query, kOperations},
                                                         {&TaskStressTest::Change, kOperations},
                                                         {&TaskStressTest::Rebuild, kOperations}}};
        std::vector<std::thread> threads;
        for (auto const& [work, count] : works) {
            threads.emplace_back([this, work = work, count = count, seed = threads.size()] {
                std::mt19937 random(static_cast<unsigned>(seed));
                for (int i = 0; i < count && !HasFailure(); ++i)
                    (this->*work)(random);
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }

    TempRoot root_;
    std::unique_ptr<LogLines> log_;
    Agent agent_{root_.Path()};
    std::vector<HString> const md5s_ = MakeMd5s(64);
    std::array<Slot, kSlots> slots_;
    std::atomic<int> begun_{0};
};

TEST_P(TaskStressTest, LocksAreTakenInOneOrderAndFindingsStay) {
    for (Slot& slot : slots_)
        BeginTask(slot);
    RunAll();
    ASSERT_TRUE(Registry().WaitAllWritten(kPatience));
    for (Slot& slot : slots_)
        CheckFindings(slot);
}

// The managers are made by whoever comes first, also one from within the other.
TEST_P(TaskStressTest, FirstUseByManyThreadsAtOnceIsSafe) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread) {
        threads.emplace_back([this, thread] {
            std::mt19937 random(static_cast<unsigned>(thread));
            if (thread % 4 == 0) Prune(random);
            if (thread % 4 == 1) Change(random);
            if (thread % 4 == 2) Registry().DelTask(ScanTask());
            if (thread % 4 == 3) (void)DLPCacheMgr::pins();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(Registry().GetTaskLast(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Logging, TaskStressTest, testing::Bool(),
                         [](auto const& run) { return run.param ? "On" : "Off"; });

}  // namespace
