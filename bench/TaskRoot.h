#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/TempDir.h"
#include "host/policy/ScanTask.h"
#include "host/policy/SensFile.h"
#include "task/DLPCacheTaskMgr.h"

namespace bench {

// A root directory of its own with a task registry over it, for one row; becomes the process's root. Logging is off.
// The registry is not the process's instance, so that rows do not meet in it.
class TaskRoot {
  public:
    // `tasks` tasks under `policies` policies in turn, half of them over; each has its record on disk.
    explicit TaskRoot(std::size_t tasks, std::size_t policies = 1);

    [[nodiscard]] DLPCacheTaskMgr& registry() { return *registry_; }
    // The writer of a task, opened.
    [[nodiscard]] DLPCacheTask& Writer(std::size_t task);
    [[nodiscard]] std::string IndexPath(std::size_t task) const { return TaskFile(task, "index"); }
    [[nodiscard]] std::string DataPath(std::size_t task) const { return TaskFile(task, "cache"); }

  private:
    [[nodiscard]] std::string TaskFile(std::size_t task, char const* name) const;

    TempDir directory_;
    std::unique_ptr<DLPCacheTaskMgr> registry_;
};

[[nodiscard]] HString TaskId(std::size_t task);
// A task, one hour after the one before it. The policies differ in their ids.
[[nodiscard]] ScanTask* MakeTask(std::size_t task, std::size_t policies, std::vector<HString> const& tpl_ids);
// A finding as a scanner records it, matched by two templates.
[[nodiscard]] SensFile MakeFinding(int sn);

}  // namespace bench
