#include "examples/scanner/TaskRun.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>

#include "examples/scanner/Registry.h"
#include "host/base/HFile.h"
#include "host/base/HTimeValueEx.h"
#include "host/policy/KwLocateMgr.h"
#include "sensrecord/DLPCachePolicyHash.h"

namespace scanner {
namespace {

void Register(HString const& id, HString const& name, QVKPolicySensitiveFileAuditNode const& policy) {
    auto task = std::make_unique<ScanTask>();
    task->id = id;
    task->name = name;
    task->start_time = std::time(nullptr);
    *task->policy->audit_node = policy;
    *task->policy->kind = kScanTaskByPolicy;
    TaskRegistry().AddTask(task.release());  // the registry's as long as the process lives
}

bool IsSameVersion(QVKPolicySensitiveFileAuditNode const& a, QVKPolicySensitiveFileAuditNode const& b) {
    return a.header().id == b.header().id && DLPCache::GetPolicyHash(a) == DLPCache::GetPolicyHash(b);
}

[[noreturn]] void ThrowUnrecorded(HString const& path, std::string const& why = "") {
    throw std::runtime_error("the task cannot be recorded in " + path.get_str() + why);
}

// Neither registering nor a change of status reports anything, so whether the task is kept shows in its record.
void RequireRecord(HString const& id, QVKPolicySensitiveFileAuditNode const& policy, int status) {
    ScanTask record;
    HString const path = KwLocateMgr::pins()->get_task_arc(id);
    bool const is_own = record.from_file(path) == 0 && record.id == id && IsSameVersion(record.audit_node(), policy);
    if (is_own && record.status == status) return;
    ThrowUnrecorded(path);
}

// Nothing but a directory may stand where the task's files belong.
void RequirePlace(HString const& id) {
    for (HString const& path :
         {KwLocateMgr::pins()->get_task_path(false), KwLocateMgr::pins()->get_task_path(id, false)}) {
        if (HFile::IsOtherThanDir(path)) ThrowUnrecorded(path, ": it is no directory");
    }
}

void RequireSameVersion(ScanTask const& task, HString const& id, QVKPolicySensitiveFileAuditNode const& policy) {
    if (task.id == id && IsSameVersion(task.audit_node(), policy)) return;
    throw std::runtime_error("the task " + id.get_str() +
                             " was a scan under another policy or other templates; give this scan another --task");
}

void Begin(HString const& id, HString const& name, QVKPolicySensitiveFileAuditNode const& policy) {
    RequireRunnable(id, policy);
    if (TaskRegistry().GetTask(id) == nullptr) Register(id, name, policy);
    TaskRegistry().UpdateTaskStatus(id, kTaskRunning);
    RequireRecord(id, policy, kTaskRunning);
}

}  // namespace

void RequireRunnable(HString const& id, QVKPolicySensitiveFileAuditNode const& policy) {
    DLPCacheTaskMgr& registry = TaskRegistry();  // which wipes a root of another layout
    RequirePlace(id);
    HString const path = KwLocateMgr::pins()->get_task_arc(id);
    ScanTask record;
    int const error = record.from_file(path);
    if (HasLostItsRecord(id) || (error == 0 && record.id != id)) {
        throw std::runtime_error("the record of the task " + id.get_str() + " in " + DirectoryOf(id) +
                                 " cannot be read; give this scan another --task");
    }
    if (error != 0 && error != ENOENT) ThrowUnrecorded(path, std::string(": ") + std::strerror(error));
    if (error == 0) RequireSameVersion(record, id, policy);
    // It may be registered by a record in a directory of another name: one that was moved, or a copy.
    if (ScanTask const* const known = registry.GetTask(id)) RequireSameVersion(*known, id, policy);
}

TaskRun::TaskRun(HString const& id, HString const& name, QVKPolicySensitiveFileAuditNode const& policy,
                 std::chrono::milliseconds wait)
    : id_(id), policy_(policy), wait_(wait), texts_((Begin(id, name, policy), id)) {}

TaskRun::~TaskRun() {
    if (!waited_) (void)TaskRegistry().WaitWritten(id_, static_cast<int>(wait_.count()));
}

void TaskRun::Finish() {
    waited_ = true;
    if (!TaskRegistry().WaitWritten(id_, static_cast<int>(wait_.count()))) {
        throw std::runtime_error("findings of the task " + id_.get_str() + " are not written after " +
                                 std::to_string(wait_.count()) + " ms; --log tells why");
    }
    TaskRegistry().UpdateTaskStatus(id_, kTaskFinished);
    RequireRecord(id_, policy_, kTaskFinished);
}

HString FreshTaskId(std::time_t now) {
    HTimeValueEx time;
    time.set_time_t(now);
    HString first("scan-");
    first << time.to_long2() << "-" << static_cast<int>(::getpid());
    HString id = first;
    for (int number = 2; TaskRegistry().GetTask(id) != nullptr || HasLostItsRecord(id); ++number) {
        id = first;
        id << "-" << number;
    }
    return id;
}

}  // namespace scanner
