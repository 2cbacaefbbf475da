// Eight scanner threads record into four tasks while an agent's thread replaces the definitions, prunes, and removes
// tasks for new ones. Before a task goes, every file that was recorded for it must be there under its number, and what
// was found under the definitions that the task began with must be rebuilt from the caches, however often they were
// pruned since. Runs for $TORVANE_STRESS_SECONDS, else 2.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "front/DLPCacheMgr.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "task/DLPCacheTaskMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "tests/stress/StressAgent.h"
#include "tests/support/TempRoot.h"

namespace {

using namespace stress;

constexpr int kThreads = 8;
constexpr int kSlots = 4;         // tasks at one time
constexpr int kContents = 800;    // the odd ones match every template that is defined
constexpr int kPatience = 60000;  // milliseconds until a queue must be written

// What a scanner recorded: the content, and the MD5 of each matched template's definition at that time.
struct Recorded {
    int content = 0;
    std::map<std::string, std::string> tpl_md5s;
};

// A place for one task after the other. Scanners hold `gate` shared while they record.
struct Slot {
    std::shared_mutex gate;
    HString task_id;
    std::mutex mutex;
    std::map<std::string, Recorded> recorded;  // by path; under `mutex`
};

class ScanStressTest : public testing::Test {
  protected:
    ScanStressTest() {
        for (int slot = 0; slot < kSlots; ++slot)
            BeginTask(slot);
    }

    static std::chrono::seconds Duration() {
        char const* const seconds = std::getenv("TORVANE_STRESS_SECONDS");
        return std::chrono::seconds(seconds ? std::atoi(seconds) : 2);
    }
    [[nodiscard]] bool IsOver() const { return std::chrono::steady_clock::now() >= end_; }

    // A policy of its own for each task, so that no task closes another. Called with the slot's gate held.
    void BeginTask(int slot) {
        auto* const task = new ScanTask;  // the registry wants it for the life of the process
        tasks_.emplace_back(task);
        task->id = HString("task " + std::to_string(slot) + "-" + std::to_string(++begun_));
        task->start_time = begun_;
        task->status = kTaskRunning;
        QVKPolicySensitiveFileAuditNode& node = *task->policy->audit_node;
        node.policy->id = HString("policy of ") << task->id;
        node.tpl_ids = EveryTpl();
        node.keep = true;
        QVKPolicySensitiveFileAuditVT policies;
        policies.nodes.push_back(node);
        ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(policies));
        DLPCacheTaskMgr::pins()->AddTask(task);
        Slot& place = slots_[static_cast<std::size_t>(slot)];
        place.task_id = task->id;
        place.recorded.clear();
    }

    // One scan, as a scanner does it: ask, scan what is missing, record, store.
    void Scan(int thread, std::mt19937& random) {
        Slot& slot = slots_[random() % kSlots];
        { std::lock_guard const turn(turnstile_); }
        std::shared_lock const task_lock(slot.gate);
        std::shared_lock const definitions_lock(agent_.Gate());
        int const content = thread + kThreads * static_cast<int>(random() % (kContents / kThreads));
        HString const path("/data/" + std::to_string(next_path_.fetch_add(1)));
        QVKKeywordCheckParam param;
        param.task_id = slot.task_id;
        std::vector<HString> const ids = DefinedTpls();
        param.file_items.push_back(MakeItem(path, md5s_[static_cast<std::size_t>(content)], ids));
        QVKKeywordMatchResult result;
        int const asked = DLPCacheMgr::pins()->QueryCache(param, result);
        ASSERT_GE(asked, 0);
        if (ids.empty()) return;
        Complete(content, ids, asked, result);
        if (result.sensitive) Remember(slot, path.get_str(), content, ids);
    }

    static bool Matches(int content) { return content / kThreads % 2 == 1; }

    // Fills what the cache did not know and hands everything over.
    void Complete(int content, std::vector<HString> const& ids, int asked, QVKKeywordMatchResult& result) {
        QVKKeywordMatchNode& node = result.match_items.at(0).match_nodes.at(0);
        for (std::size_t i = 0; i < node.matched_tpl_ids.size(); ++i)
            CheckMatch(content, node.matched_tpl_ids[i], node.attach_nodes.at(i), node.texts.at(i));
        ASSERT_TRUE(Matches(content) || node.matched_tpl_ids.empty());
        QVKKeywordMatchResult missing;
        *missing.check_param = *result.check_param;
        QVKKeywordMatchNode& scanned = missing.match_items.emplace_back().match_nodes.emplace_back();
        *scanned.file_node = *node.file_node;
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            HString const id(TplId(tpl));
            if (!Holds(ids, id) || Holds(node.matched_tpl_ids, id) || Holds(node.unmatched_tpl_ids, id)) continue;
            if (!Matches(content)) {
                scanned.unmatched_tpl_ids.push_back(id);
                continue;
            }
            AddMatch(content, tpl, agent_.Edit(tpl), scanned);
            AddMatch(content, tpl, agent_.Edit(tpl), node);
        }
        result.sensitive = result.match_items[0].sensitive = node.sensitive = Matches(content);
        missing.sensitive = missing.match_items[0].sensitive = scanned.sensitive = Matches(content);
        if (asked == DLPCache::kMiss) {
            ASSERT_EQ(DLPCacheMgr::pins()->AddCache(missing), DLPCache::kStored);
            return;
        }
        if (result.sensitive) {
            ASSERT_EQ(DLPCacheMgr::pins()->AddTask(result), DLPCache::kStored);
        }
        ASSERT_EQ(DLPCacheMgr::pins()->AddTpl(missing), DLPCache::kStored);
    }

    static bool Holds(std::vector<HString> const& ids, HString const& id) {
        return std::find(ids.begin(), ids.end(), id) != ids.end();
    }
    // Callers hold the agent's gate.
    std::vector<HString> DefinedTpls() const {
        std::vector<HString> ids;
        for (int tpl = 0; tpl < kTemplates; ++tpl) {
            if (agent_.Edit(tpl) != kAbsent) ids.push_back(HString(TplId(tpl)));
        }
        return ids;
    }

    static void Remember(Slot& slot, std::string const& path, int content, std::vector<HString> const& ids) {
        Recorded recorded{content, {}};
        for (HString const& id : ids) {
            auto const* const tpl = KwDefineMgr::pins()->get_tpl_by_id(id);
            recorded.tpl_md5s[id.get_str()] = KwDefineMgr::pins()->get_md5_by_tpl(*tpl).get_str();
        }
        std::lock_guard const lock(slot.mutex);
        slot.recorded[path] = std::move(recorded);
    }

    // Ends the task of a slot and begins another there.
    void ReplaceTask(int index) {
        Slot& slot = slots_[static_cast<std::size_t>(index)];
        std::unique_lock turn(turnstile_);
        std::unique_lock const lock(slot.gate);
        turn.unlock();
        DLPCacheTaskMgr& registry = *DLPCacheTaskMgr::pins();
        ASSERT_TRUE(registry.WaitWritten(slot.task_id, kPatience));
        registry.UpdateTaskStatus(slot.task_id, kTaskFinished);
        CheckFindings(slot);
        registry.DelTask(*registry.GetTask(slot.task_id));
        ASSERT_FALSE(registry.IsExistTask(slot.task_id));
        ASSERT_FALSE(Exists(root_ / ("cache/task/" + slot.task_id.get_str())));
        BeginTask(index);
    }

    // Every file once, under the numbers 1 to n.
    void CheckFindings(Slot& slot) {
        int sn = 0;
        for (SensFile file; DLPCacheTaskMgr::pins()->FindTaskSensFileBySN(slot.task_id, sn + 1, file);) {
            ++sn;
            auto const found = slot.recorded.find(file.file_path.get_str());
            ASSERT_NE(found, slot.recorded.end()) << slot.task_id.get_str() << ", " << file.file_path.get_str();
            CheckRebuilt(slot, file, found->second);
            slot.recorded.erase(found);
        }
        ASSERT_TRUE(slot.recorded.empty()) << slot.task_id.get_str() << " lacks " << slot.recorded.size() << " of "
                                           << slot.recorded.size() + static_cast<std::size_t>(sn);
        findings_checked_ += sn;
    }

    void CheckRebuilt(Slot const& slot, SensFile const& file, Recorded const& recorded) {
        QVKKeywordMatchResult result;
        DLPCacheTaskMgr::pins()->GetSensFileResult(file, result);
        QVKKeywordMatchNode const& node = result.match_items.at(0).match_nodes.at(0);
        ASSERT_EQ(node.attach_nodes.size(), node.matched_tpl_ids.size());
        for (std::size_t i = 0; i < node.matched_tpl_ids.size(); ++i)
            CheckMatch(recorded.content, node.matched_tpl_ids[i], node.attach_nodes[i], node.texts.at(i));
        for (auto const& [id, md5] : recorded.tpl_md5s) {
            if (DLPCacheTaskMgr::pins()->GetTaskTplMd5(slot.task_id, HString(id)).get_str() != md5) continue;
            ASSERT_TRUE(Holds(node.matched_tpl_ids, HString(id))) << slot.task_id.get_str() << " lost " << id;
            ++matches_rebuilt_;
        }
    }

    void Act(std::mt19937& random) {
        unsigned long const choice = random() % 8;
        if (choice < 3) {
            std::lock_guard const turn(turnstile_);
            agent_.Replace(random);
        } else if (choice < 5) {
            DLPCacheTplMgr::pins()->UpdataCache();
        } else if (choice < 7) {
            std::vector<ScanTask const*> tasks;
            DLPCacheTaskMgr::pins()->GetTaskHistory(tasks);
            ASSERT_EQ(tasks.size(), static_cast<std::size_t>(kSlots));
        } else {
            ReplaceTask(static_cast<int>(random() % kSlots));
        }
    }

    // Passed by scanners before each scan and held by the agent while it waits for a gate, which would else always be
    // held by some scanner.
    std::mutex turnstile_;
    TempRoot root_;
    Agent agent_{root_.Path()};
    std::vector<HString> const md5s_ = MakeMd5s(kContents);
    std::vector<std::unique_ptr<ScanTask>> tasks_;
    int begun_ = 0;
    std::array<Slot, kSlots> slots_;
    std::atomic<int> next_path_{0};
    int findings_checked_ = 0;
    int matches_rebuilt_ = 0;
    std::chrono::steady_clock::time_point const end_ = std::chrono::steady_clock::now() + Duration();
};

TEST_F(ScanStressTest, NoFindingIsLostWhileTasksAndDefinitionsChange) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] {
            std::mt19937 random(static_cast<unsigned>(thread));
            while (!IsOver() && !HasFatalFailure())
                Scan(thread, random);
        });
    }
    std::mt19937 random(99);
    while (!IsOver() && !HasFatalFailure())
        Act(random);
    for (std::thread& thread : threads)
        thread.join();
    for (int slot = 0; slot < kSlots && !HasFatalFailure(); ++slot)
        ReplaceTask(slot);
    EXPECT_GT(findings_checked_, 0);
    EXPECT_GT(matches_rebuilt_, 0);
    RecordProperty("findings", findings_checked_);
    RecordProperty("rebuilt", matches_rebuilt_);
}

}  // namespace
