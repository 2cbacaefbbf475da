#include "tests/task/TaskModel.h"

#include <algorithm>

namespace task_model {

void Model::Restart() {
    policies = stored_policies;
    for (auto& [id, task] : tasks)
        task.handle = task.recorded_handle;
}

Task* Model::Find(std::string const& id) {
    auto const entry = tasks.find(id);
    return entry == tasks.end() ? nullptr : &entry->second;
}

void Model::UpdateStatus(std::string const& id, int status) {
    Task* const task = Find(id);
    if (!task || status < 1 || status > 4) return;
    if (status >= 3) return Close(*task, status);
    task->status = status;
    task->recorded_handle = task->handle;
}

void Model::Close(Task& task, int status) {
    task.status = status;
    task.has_end_time = true;
    task.snap_cache = false;
    task.recorded_handle = task.handle;
}

bool Model::StaysOpen(Task const& task) const {
    for (Policy const& policy : policies) {
        if (policy.id == task.policy.id) return policy.keep || policy.version == task.policy.version;
    }
    return !policies.empty() && policies.back().keep;
}

void Model::CloseOutdated() {
    for (auto& [id, task] : tasks) {
        if (!task.realtime && !task.IsOver() && !StaysOpen(task)) Close(task, 3);
    }
}

void Model::Open(Task& task) const {
    if (task.snapshot) return;
    task.snapshot.emplace();
    for (int const tpl : task.tpls) {
        std::string const md5 = md5_of_(tpl);
        if (!md5.empty()) (*task.snapshot)[tpl] = md5;
    }
}

std::string Model::UsedMd5(std::string const& id, int tpl) {
    Task const* const task = Find(id);
    if (!task || !task->snapshot || !task->snapshot->contains(tpl)) return "";
    return task->snapshot->at(tpl);
}

bool Model::IsUsed(int tpl, std::string const& md5, std::string const& without_task) const {
    return std::any_of(tasks.begin(), tasks.end(), [&](auto const& entry) {
        auto const& snapshot = entry.second.snapshot;
        return entry.first != without_task && snapshot && snapshot->contains(tpl) && snapshot->at(tpl) == md5;
    });
}

void Model::Remove(std::string const& id) {
    bool history_asked = false;
    for (int const tpl : tasks.at(id).tpls) {
        std::string const md5 = UsedMd5(id, tpl);
        std::string const current = md5_of_(tpl);
        if (md5.empty() || current.empty() || md5 == current) continue;
        history_asked = true;
        if (!IsUsed(tpl, md5, id)) caches.erase({tpl, md5});
    }
    if (history_asked) CloseOutdated();
    tasks.erase(id);
}

void Model::Prune() {
    bool history_asked = false;
    for (auto next = caches.begin(); next != caches.end();) {
        auto const entry = next++;
        auto const& [tpl, md5] = *entry;
        if (md5_of_(tpl) == md5) continue;
        history_asked = true;
        if (!IsUsed(tpl, md5)) caches.erase(entry);
    }
    if (history_asked) CloseOutdated();
}

std::vector<std::string> Model::Ids(Wanted const& wanted, bool newest_first) const {
    std::vector<std::pair<long long, std::string>> found;
    for (auto const& [id, task] : tasks) {
        if (wanted(task)) found.emplace_back(newest_first ? -task.start_time : task.start_time, id);
    }
    std::sort(found.begin(), found.end());
    std::vector<std::string> ids;
    for (auto const& [time, id] : found)
        ids.push_back(id);
    return ids;
}

}  // namespace task_model
