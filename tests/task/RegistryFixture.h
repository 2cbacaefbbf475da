#pragma once

#include <memory>
#include <string>
#include <vector>

#include "task/DLPCacheTaskMgr.h"
#include "tests/template/TplFixture.h"

// A root with a registry over it, and tasks, policies and files to fill it with. Policies "P1" and "P2" are in force,
// both in version 100.
class RegistryFixture : public TplFixture {
  protected:
    RegistryFixture();

    // A running task that lives as long as the process. Its policy is a copy of "P1" in version 100, without templates.
    static ScanTask& MakeTask(std::string const& id, long long start_time = 0);
    static ScanTask& MakeTaskOf(QVKPolicySensitiveFileAuditNode const& policy, std::string const& id);
    // The task, registered.
    ScanTask& Add(std::string const& id, long long start_time = 0);
    ScanTask& AddOf(QVKPolicySensitiveFileAuditNode const& policy, std::string const& id);

    static QVKPolicySensitiveFileAuditNode Policy(std::string const& id, long long version = 100, bool keep = false);
    // Puts these policies in force, in this order.
    static void SetPolicies(std::vector<QVKPolicySensitiveFileAuditNode> const& policies);

    // The registry begins anew, as after the process was started again.
    void Restart() { registry_ = std::make_unique<DLPCacheTaskMgr>(); }

    // Files. A name is that of the task's directory.
    [[nodiscard]] std::string TaskPath(std::string const& name = "", std::string const& file = "") const;
    [[nodiscard]] std::string RecordPath(std::string const& name) const { return TaskPath(name, "ScanTask.arc"); }
    // The task that a record file holds; the test fails when there is none.
    [[nodiscard]] ScanTask Record(std::string const& name) const;
    void WriteRecord(std::string const& name, ScanTask const& task) const;
    void WriteFile(std::string const& name, std::string const& file, std::string const& content) const;
    [[nodiscard]] bool HasSnapCache(std::string const& name) const { return Exists(TaskPath(name, "SnapCache")); }

    using Tasks = std::vector<ScanTask const*>;
    [[nodiscard]] static std::vector<std::string> Ids(Tasks const& tasks);
    [[nodiscard]] std::vector<std::string> HistoryIds() const;
    [[nodiscard]] int StatusOf(std::string const& id) const;  // 0: no such task

    std::unique_ptr<DLPCacheTaskMgr> registry_;
};
