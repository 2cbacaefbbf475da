#include <algorithm>
#include <functional>
#include <new>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "sensrecord/DLPCachePolicyHash.h"
#include "task/DLPCacheTaskMgr.h"

namespace {

using Tasks = std::vector<ScanTask const*>;

// The audit policies in force, as the closing of tasks sees them.
class PoliciesInForce {
  public:
    // Throws without memory.
    PoliciesInForce() {
        QVKPolicySensitiveFileAuditVTMgr* const policies = QVKPolicySensitiveFileAuditVTMgr::pins();
        if (!policies || !policies->get(table_, false)) throw std::bad_alloc();
        versions_.reserve(table_.nodes.size());
        for (auto const& node : table_.nodes)  // of equal ids the first counts
            versions_.try_emplace(node.header().id.view(), Version{DLPCache::GetPolicyHash(node), node.keep});
    }

    [[nodiscard]] bool KeepOpen(ScanTask const& task) const {
        auto const found = versions_.find(task.audit_node().header().id.view());
        if (found != versions_.end())
            return found->second.keep || found->second.hash == DLPCache::GetPolicyHash(task.audit_node());
        // A policy that is gone: the last one of the table decides. Kept on purpose, agents rely on it.
        return !table_.nodes.empty() && table_.nodes.back().keep;
    }

  private:
    struct Version {
        HString hash;
        bool keep;
    };

    QVKPolicySensitiveFileAuditVT table_;
    std::unordered_map<std::u16string_view, Version> versions_;  // by policy id; the texts are those of table_
};

// Null entries, which callers may have put in, come last.
template <class Before>
void SortByStart(Tasks& tasks, Before const& before) noexcept {
    std::sort(tasks.begin(), tasks.end(), [&](ScanTask const* a, ScanTask const* b) {
        return a && b ? before(a->start_time, b->start_time) : a && !b;
    });
}

void SortNewestFirst(Tasks& tasks) noexcept {
    SortByStart(tasks, std::greater<>());
}

void SortOldestFirst(Tasks& tasks) noexcept {
    SortByStart(tasks, std::less<>());
}

bool IsOfPolicy(ScanTask const& task, HString const& policy_id) noexcept {
    return task.audit_node().header().id == policy_id;
}

}  // namespace

template <class Wanted>
bool DLPCacheTaskMgr::AppendTasks(Wanted const& wanted, Tasks& out) const noexcept {
    return NoThrow(false, [&] {
        for (auto const& [id, task] : tasks_) {
            if (wanted(*task)) out.push_back(task);
        }
        return true;
    });
}

bool DLPCacheTaskMgr::AppendHistory(Tasks& out) const noexcept {
    return NoThrow(false, [&] {
        out.reserve(out.size() + tasks_.size());
        PoliciesInForce const policies;
        for (auto const& [id, task] : tasks_) {
            if (!IsFinal(task->status) && !DLPCache::IsRealtimeTask(*task) && !policies.KeepOpen(*task))
                CloseTask(*task);
            out.push_back(task);
        }
        return true;
    });
}

void DLPCacheTaskMgr::GetTaskHistory(Tasks& out) const noexcept {
    HAutoMutex const lock(mutex_);
    (void)AppendHistory(out);
    SortNewestFirst(out);
}

bool DLPCacheTaskMgr::GetHistoryIds(std::vector<HString>& ids) noexcept {
    HAutoMutex const lock(mutex_);
    return NoThrow(false, [&] {
        if (!all_read_) ReadTasks(Registered::kKeep);
        Tasks tasks;
        if (!all_read_ || !AppendHistory(tasks)) return false;
        for (ScanTask const* task : tasks)
            ids.push_back(task->id);
        return true;
    });
}

ScanTask const* DLPCacheTaskMgr::GetTaskLast(Tasks const& tasks) const noexcept {
    ScanTask const* last = nullptr;
    for (ScanTask const* task : tasks) {
        if (task && (!last || task->start_time > last->start_time)) last = task;
    }
    return last;
}

ScanTask const* DLPCacheTaskMgr::GetTaskLast() const noexcept {
    Tasks tasks;
    GetTaskHistory(tasks);
    return GetTaskLast(tasks);
}

void DLPCacheTaskMgr::GetTaskByPolicyID(HString const& policy_id, Tasks& out) const noexcept {
    HAutoMutex const lock(mutex_);
    (void)AppendTasks([&](ScanTask const& task) { return IsOfPolicy(task, policy_id); }, out);
    SortOldestFirst(out);
}

ScanTask const* DLPCacheTaskMgr::GetTaskLastByPolicyID(HString const& policy_id) const noexcept {
    Tasks tasks;
    GetTaskByPolicyID(policy_id, tasks);
    return GetTaskLast(tasks);
}

void DLPCacheTaskMgr::GetPolicyTaskByPolicyID(HString const& policy_id, Tasks& out) const noexcept {
    HAutoMutex const lock(mutex_);
    auto const wanted = [&](ScanTask const& task) {
        return IsOfPolicy(task, policy_id) && task.kind() == kScanTaskByPolicy && !DLPCache::IsRealtimeTask(task);
    };
    (void)AppendTasks(wanted, out);
    SortOldestFirst(out);
}

ScanTask const* DLPCacheTaskMgr::GetPolicyTaskLastByPolicyID(HString const& policy_id) const noexcept {
    Tasks tasks;
    GetPolicyTaskByPolicyID(policy_id, tasks);
    return GetTaskLast(tasks);
}

void DLPCacheTaskMgr::GetTaskRealtime(Tasks& out) const noexcept {
    HAutoMutex const lock(mutex_);
    (void)AppendTasks([](ScanTask const& task) { return DLPCache::IsRealtimeTask(task); }, out);
    SortNewestFirst(out);
}
