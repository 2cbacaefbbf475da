#include "tests/task/RegistryFixture.h"

#include <deque>
#include <filesystem>

#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"

namespace fs = std::filesystem;

RegistryFixture::RegistryFixture() {
    SetPolicies({Policy("P1"), Policy("P2")});
    Restart();
}

ScanTask& RegistryFixture::MakeTask(std::string const& id, long long start_time) {
    ScanTask& task = MakeTaskOf(Policy("P1"), id);
    task.start_time = start_time;
    return task;
}

ScanTask& RegistryFixture::MakeTaskOf(QVKPolicySensitiveFileAuditNode const& policy, std::string const& id) {
    static auto& tasks = *new std::deque<ScanTask>;  // registries keep pointers to the very end
    ScanTask& task = tasks.emplace_back();
    task.id = HString(id);
    task.status = kTaskRunning;
    *task.policy->audit_node = policy;
    return task;
}

ScanTask& RegistryFixture::Add(std::string const& id, long long start_time) {
    ScanTask& task = MakeTask(id, start_time);
    registry_->AddTask(&task);
    return task;
}

ScanTask& RegistryFixture::AddOf(QVKPolicySensitiveFileAuditNode const& policy, std::string const& id) {
    ScanTask& task = MakeTaskOf(policy, id);
    registry_->AddTask(&task);
    return task;
}

QVKPolicySensitiveFileAuditNode RegistryFixture::Policy(std::string const& id, long long version, bool keep) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy->id = HString(id);
    node.policy->time_stamp = version;
    node.keep = keep;
    return node;
}

void RegistryFixture::SetPolicies(std::vector<QVKPolicySensitiveFileAuditNode> const& policies) {
    QVKPolicySensitiveFileAuditVT table;
    table.nodes = policies;
    ASSERT_TRUE(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(table));
}

std::string RegistryFixture::TaskPath(std::string const& name, std::string const& file) const {
    return root_ / "cache/task/" + name + (file.empty() ? "" : "/" + file);
}

ScanTask RegistryFixture::Record(std::string const& name) const {
    ScanTask task;
    EXPECT_EQ(task.from_file(HString(RecordPath(name))), 0) << name;
    return task;
}

void RegistryFixture::WriteRecord(std::string const& name, ScanTask const& task) const {
    ASSERT_EQ(task.to_file(HString(RecordPath(name))), 0);
}

void RegistryFixture::WriteFile(std::string const& name, std::string const& file, std::string const& content) const {
    fs::create_directories(TaskPath(name));
    WriteBytes(TaskPath(name, file), content);
}

std::vector<std::string> RegistryFixture::Ids(Tasks const& tasks) {
    std::vector<std::string> ids;
    for (ScanTask const* task : tasks)
        ids.push_back(task ? task->id.get_str() : "(null)");
    return ids;
}

std::vector<std::string> RegistryFixture::HistoryIds() const {
    Tasks tasks;
    registry_->GetTaskHistory(tasks);
    return Ids(tasks);
}

int RegistryFixture::StatusOf(std::string const& id) const {
    ScanTask const* const task = registry_->GetTask(HString(id));
    return task ? task->status : 0;
}
