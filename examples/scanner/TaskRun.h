#pragma once

#include <chrono>
#include <ctime>
#include <string>

#include "examples/scanner/KeptTexts.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"

namespace scanner {

// Whether a scan under this policy may run as the task `id`: there is none yet, or it is one to repeat. Throws
// std::runtime_error, and nothing was changed, when it is remembered under another policy or version of it, wherever
// its record lies; when it has a directory without a record that can be read; when something else stands in the
// directory's place; also for an id that cannot name a file.
void RequireRunnable(HString const& id, QVKPolicySensitiveFileAuditNode const& policy);

// A scan as a task of the registry: running from the object's beginning, finished with Finish. A scan that ends without
// that (an error, a signal) leaves a task that is still running, which a later scan may take up again. One object a
// process and task; threads share id(), policy() and texts().
class TaskRun {
  public:
    // Registers the task, or takes up one that is remembered. `name`: for people. `wait`: how long the findings may
    // take to reach the disk at the end. Throws std::runtime_error when the task cannot be recorded below the root, and
    // as RequireRunnable does.
    TaskRun(HString const& id, HString const& name, QVKPolicySensitiveFileAuditNode const& policy,
            std::chrono::milliseconds wait);
    ~TaskRun();
    TaskRun(TaskRun const&) = delete;
    TaskRun& operator=(TaskRun const&) = delete;

    [[nodiscard]] HString const& id() const { return id_; }
    [[nodiscard]] QVKPolicySensitiveFileAuditNode const& policy() const { return policy_; }
    [[nodiscard]] KeptTexts& texts() { return texts_; }

    // Waits for the findings and ends the task. Throws std::runtime_error, and leaves the task running, when they are
    // not on disk in time; also when the end cannot be recorded.
    void Finish();

  private:
    HString id_;
    QVKPolicySensitiveFileAuditNode policy_;
    std::chrono::milliseconds wait_;
    bool waited_ = false;
    KeptTexts texts_;
};

// An id that no task below this root has: the time and the process, and a number where there is such a task.
[[nodiscard]] HString FreshTaskId(std::time_t now = std::time(nullptr));

}  // namespace scanner
