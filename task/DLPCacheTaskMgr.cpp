#include "task/DLPCacheTaskMgr.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <memory>
#include <new>
#include <utility>

#include "front/DLPCacheVersion.h"
#include "host/base/HAutoMutex.h"
#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/base/Retained.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"
#include "task/DLPCacheTaskDirectory.h"
#include "task/DLPCacheTaskLog.h"

using DLPCache::kTaskLog;

namespace {

// Puts the audit policies of the record file in force. A file that cannot be read whole changes nothing.
void LoadAuditPolicies() noexcept {
    NoThrow(false, [] {
        QVKPolicySensitiveFileAuditVTMgr* const policies = QVKPolicySensitiveFileAuditVTMgr::pins();
        HString const file = KwLocateMgr::pins()->get_policy_keyword_sens();
        if (!policies || file.empty()) return false;
        QVKPolicySensitiveFileAuditVT table;
        int const failed = table.from_file(file);
        if (failed == ENOENT) return false;
        if (failed == 0) return policies->set_no_write_to_arc(table);
        kTaskLog.Write(DLPCache::kLogError, 118, "read audit policies failed, errno: ", failed, ", file: ", file);
        return false;
    });
}

DLPCacheTaskMgr* Make() noexcept {
    auto* const registry = new (std::nothrow) DLPCacheTaskMgr;
    if (registry) LoadAuditPolicies();
    return registry;
}

struct Place {
    HString directory;
    HString record;
};

// The task directories in the order of their names. Foreign names are left alone, unless the directory is empty, and so
// are symbolic links. False when the task path cannot be read.
bool FindTasks(std::vector<Place>& places) {
    HDirSnap snap;
    snap.recursive = false;
    snap.directories = true;
    snap.set_file(KwLocateMgr::pins()->get_task_path(true));
    if (!snap.snap()) return false;
    for (HDirSnap::Entry const& entry : snap.entries()) {
        if (!entry.is_dir) continue;
        HString id;
        if (!Varnok::FileNameToId(HString(entry.path).dir_fit(false).get_short_name(), id)) {
            (void)HFile::del_empty_dir(entry.path);
            continue;
        }
        places.push_back({entry.path, KwLocateMgr::pins()->get_task_arc(id)});
        if (places.back().record.empty()) throw std::bad_alloc();  // without memory a path is empty
    }
    return true;
}

// Removes a directory that holds nothing, or only records that were never finished: their writer was killed. False when
// there is anything else.
bool RemoveUnfinished(HString const& directory) {
    if (HFile::del_empty_dir(directory) == 0) return true;
    HDirSnap snap;
    snap.set_file(directory);
    if (!snap.snap()) return false;
    auto const is_unfinished = [](HDirSnap::Entry const& entry) {
        HString const name = entry.path.get_short_name();
        return !entry.is_dir && name.view().starts_with(u"ScanTask.arc.") && name.view().ends_with(u".tmp");
    };
    if (!std::all_of(snap.entries().begin(), snap.entries().end(), is_unfinished)) return false;
    for (HDirSnap::Entry const& entry : snap.entries())
        (void)HFile::delete_file(entry.path);
    return HFile::del_empty_dir(directory) == 0;
}

void LogUnread(int line, HString const& record, int failed) noexcept {
    kTaskLog.Write(DLPCache::kLogError, line, "read task record failed, errno: ", failed, ", file: ", record);
}

// Whether a record that could not be read may be readable another time. What is no file never is: a task of such a
// record is as unknown as one of a damaged record.
bool MayBeReadLater(int failed, HString const& record) noexcept {
    return failed != 0 && failed != ENOENT && failed != EBADMSG && !HFile::IsOtherThanFile(record);
}

// What the scanner keeps while the task runs; it need not be there.
void DeleteSnapCache(ScanTask const& task) noexcept {
    NoThrow(false, [&] {
        if (!DLPCache::IsTaskDirectoryFree(task.id)) return false;
        HString const file = KwLocateMgr::pins()->get_task_snap_cache(task.id);
        int const failed = file.empty() ? ENOMEM : HFile::delete_file2(file);
        if (failed == 0) return true;
        kTaskLog.Write(DLPCache::kLogError, 98, "delete snap cache failed, errno: ", failed, ", file: ", file);
        return false;
    });
}

}  // namespace

DLPCacheTaskMgr* DLPCacheTaskMgr::pins() noexcept {
    static DLPCacheTaskMgr* const gpcachetaskmgr = Make();
    return gpcachetaskmgr;
}

DLPCacheTaskMgr::DLPCacheTaskMgr() noexcept {
    CheckModuleVersion();
    Init();
}

DLPCacheTaskMgr::~DLPCacheTaskMgr() {
    for (auto const& [id, task] : tasks_)
        Varnok::Retain(task);
    for (ScanTask const* task : replaced_)
        Varnok::Retain(task);
    for (ScanTask const* task : released_)
        Varnok::Retain(task);
    for (auto const& [id, cache] : caches_)
        Varnok::Retain(cache);
}

void DLPCacheTaskMgr::Init() noexcept {
    HAutoMutex const lock(mutex_);
    ReadTasks(Registered::kReplace);
}

void DLPCacheTaskMgr::ReadTasks(Registered earlier) noexcept {
    all_read_ = true;  // TakeTask says otherwise
    if (!NoThrow(false, [&] { return TakeTasks(earlier); })) all_read_ = false;
}

bool DLPCacheTaskMgr::TakeTasks(Registered earlier) {
    std::vector<Place> places;
    if (!FindTasks(places)) {
        HString const directory = KwLocateMgr::pins()->get_task_path(true);
        kTaskLog.Write(DLPCache::kLogError, 131, "read dir failed, dir: ", directory);
        return false;
    }
    for (Place const& place : places) {
        auto task = std::make_unique<ScanTask>();
        int const failed = task->from_file(place.record);
        // Whether a directory is empty is asked only where it may be.
        if (failed == ENOENT && RemoveUnfinished(place.directory)) continue;
        (void)TakeTask(std::move(task), failed, place.record, earlier);
    }
    return true;
}

ScanTask* DLPCacheTaskMgr::TakeTask(std::unique_ptr<ScanTask> task, int failed, HString const& record,
                                    Registered earlier) {
    if (failed != 0) LogUnread(142, record, failed);
    if (MayBeReadLater(failed, record)) all_read_ = false;
    if (failed == ENOMEM) return nullptr;
    auto const found = tasks_.find(task->id);
    if (found != tasks_.end() && (task->id.empty() || earlier == Registered::kKeep)) return found->second;
    Register(task->id, task.get());
    return task.release();
}

void DLPCacheTaskMgr::Register(HString const& id, ScanTask* task) {
    auto const [entry, added] = tasks_.try_emplace(id, task);
    if (added || entry->second == task) return;
    replaced_.insert(entry->second);
    entry->second = task;
}

// All but the id, which is the same, and the handle: those two may be read by anyone at any time.
void DLPCacheTaskMgr::TakeRecord(ScanTask read, ScanTask& task) noexcept {
    task.name = std::move(read.name);
    task.start_time = read.start_time;
    task.end_time = read.end_time;
    task.policy = std::move(read.policy);
    task.status = read.status;
    task.note = std::move(read.note);
}

void DLPCacheTaskMgr::AddTask(ScanTask* task) noexcept {
    if (!task) return;
    HAutoMutex const lock(mutex_);
    NoThrow(false, [&] {
        HString const record = KwLocateMgr::pins()->get_task_arc(task->id);
        bool const has_place = task->id.not_empty() && !DLPCache::IsTaskDirectoryTaken(task->id);
        ScanTask read;
        int const failed = !has_place ? EINVAL : record.empty() ? ENOMEM : read.from_file(record);
        if (failed == ENOMEM) return LogUnread(159, record, failed), false;
        Register(task->id, task);
        if (failed == ENOENT) {
            TaskToArc(task);
        } else if (failed != 0) {
            LogUnread(163, record, failed);
        } else if (read.id != task->id) {
            kTaskLog.Write(DLPCache::kLogError, 165, "task record of another id: ", read.id, ", file: ", record);
        } else {
            TakeRecord(std::move(read), *task);
        }
        return true;
    });
}

ScanTask* DLPCacheTaskMgr::GetTask(HString const& id) noexcept {
    return FindTask(id, Registered::kReplace);
}

ScanTask* DLPCacheTaskMgr::FindTask(HString const& id, Registered earlier) noexcept {
    HAutoMutex const lock(mutex_);
    return NoThrow<ScanTask*>(nullptr, [&]() -> ScanTask* {
        auto const entry = tasks_.find(id);
        if (entry != tasks_.end()) return entry->second;
        HString const record = KwLocateMgr::pins()->get_task_arc(id);
        if (record.empty() || !HFile::IsFileExistFile(record) || DLPCache::IsTaskDirectoryTaken(id)) return nullptr;
        auto task = std::make_unique<ScanTask>();
        int const failed = task->from_file(record);
        if (failed == ENAMETOOLONG) return nullptr;  // no task has such an id
        return TakeTask(std::move(task), failed, record, earlier);
    });
}

void DLPCacheTaskMgr::UpdateTaskStatus(HString const& id, int status) noexcept {
    if (status < kTaskCreated || status > kTaskEnded || !IsExistTask(id)) return;
    HAutoMutex const lock(mutex_);
    auto const entry = tasks_.find(id);
    if (entry == tasks_.end()) return;  // removed meanwhile
    ScanTask& task = *entry->second;
    if (IsFinal(status)) {
        task.end_time = std::time(nullptr);
        DeleteSnapCache(task);
    }
    task.status = status;
    TaskToArc(&task);
}

void DLPCacheTaskMgr::CloseTask(ScanTask& task) const noexcept {
    task.status = kTaskFinished;
    task.end_time = std::time(nullptr);
    TaskToArc(&task);
    DeleteSnapCache(task);
}

void DLPCacheTaskMgr::TaskToArc(ScanTask const* task) const noexcept {
    if (!task) return;
    HAutoMutex const lock(mutex_);
    if (IsTaskRelease(task) || task->id.empty()) return;
    ScanTask copy = *task;
    copy.note.clear();
    NoThrow(false, [&] {
        if (!DLPCache::IsTaskDirectoryFree(copy.id)) {
            kTaskLog.Write(DLPCache::kLogError, 209, "task dir refused, id: ", copy.id);
            return false;
        }
        HString const record = KwLocateMgr::pins()->get_task_arc(copy.id);
        int const failed = record.empty() ? ENOMEM : copy.to_file(record);
        if (failed == 0) return true;
        kTaskLog.Write(DLPCache::kLogError, 215, "write task record failed, errno: ", failed, ", id: ", copy.id);
        return false;
    });
}

bool DLPCacheTaskMgr::IsExistTask(HString const& id) const noexcept {
    HAutoMutex const lock(mutex_);
    return tasks_.contains(id);
}

bool DLPCacheTaskMgr::IsTaskRelease(ScanTask const* task) const noexcept {
    HAutoMutex const lock(mutex_);
    return released_.contains(task);
}

unsigned DLPCacheTaskMgr::GetTaskCountByTask(ScanTask const& task) const noexcept {
    HAutoMutex const lock(mutex_);
    QVKPolicyCommon const& policy = task.audit_node().header();
    unsigned count = 0;
    for (auto const& [id, other] : tasks_) {
        QVKPolicyCommon const& others = other->audit_node().header();
        if (other->kind() == task.kind() && others.time_stamp == policy.time_stamp && others.id == policy.id) ++count;
    }
    return count;
}
