#pragma once

#include <map>
#include <memory>
#include <set>
#include <shared_mutex>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "host/policy/QVKKeywordMatchResult.h"
#include "host/policy/ScanTask.h"
#include "host/policy/SensFile.h"
#include "task/DLPCacheRealtimeTask.h"
#include "task/DLPCacheTask.h"

namespace DLPCache {
class TplUse;
}  // namespace DLPCache

// The registry of scan tasks: keeps every known task in memory by its id, mirrors each to its record file, rebuilds
// itself from the task directories at start, opens tasks' stores, closes tasks whose policy has changed, removes tasks.
//
// Task objects are never freed: those that callers add stay theirs and must live as long as the process, those that the
// registry makes stay valid for as long. All of an object but its id and handle may change under the registry's lock:
// in UpdateTaskStatus, AddTask, and whatever loads the history and so closes tasks (GetTaskHistory, GetTaskLast,
// DelTask, DLPCacheTplMgr::UpdataCache). Who reads an object while other threads do that takes a copy at a quiet
// moment.
//
// A task whose record could not be read has an empty id: it shows in the queries, and nothing is ever written, opened
// or deleted for it. Any thread may call; nothing throws (without memory an operation does nothing, or a part of a list
// is missing). Every call but those that say otherwise holds the registry's lock for its whole run.
class TORVANE_API DLPCacheTaskMgr {
  public:
    // The instance, made on first call and never destroyed; that also loads the audit policies from their record file
    // when it can be read whole. Null only without memory.
    [[nodiscard]] static DLPCacheTaskMgr* pins() noexcept;

    // Checks the module's version stamp (front/DLPCacheVersion.h), then Init. Public for tools and tests; there must
    // not be two registries over one root at once.
    DLPCacheTaskMgr() noexcept;
    ~DLPCacheTaskMgr();
    DLPCacheTaskMgr(DLPCacheTaskMgr const&) = delete;
    DLPCacheTaskMgr& operator=(DLPCacheTaskMgr const&) = delete;

    // Fills the task set from the task directories, each task under the id in its record, in place of one registered
    // under it. Empty directories are removed, directories whose names stand for no id left alone.
    void Init() noexcept;

    // Registers a task (null is ignored) in place of an earlier one with its id. Writes its record file when there is
    // none; otherwise the task is read from it, but for its handle. A record that cannot be read, or that names another
    // id, is none of this task's: the task stays as the caller made it, and so does the file until the task's next
    // change of status.
    void AddTask(ScanTask* task) noexcept;
    // The task of an id, read from its record file when it is not registered yet; it is then registered under the id in
    // that file. Null: there is none. Of records that cannot be read there is one task for all.
    [[nodiscard]] ScanTask* GetTask(HString const& id) noexcept;
    // Sets the status (kTaskCreated to kTaskEnded, else nothing happens) of a registered task and writes its record.
    // A final status sets the end time and deletes the task's snapshot cache.
    void UpdateTaskStatus(HString const& id, int status) noexcept;
    // Writes the task's record, without its note, unless the task was removed or a symbolic link stands in the place of
    // its directory. Null is ignored.
    void TaskToArc(ScanTask const* task) const noexcept;
    [[nodiscard]] bool IsExistTask(HString const& id) const noexcept;
    // Whether DelTask took this object out of the registry.
    [[nodiscard]] bool IsTaskRelease(ScanTask const* task) const noexcept;

    // How many registered tasks have the kind, the policy version and the policy id of `task`.
    [[nodiscard]] unsigned GetTaskCountByTask(ScanTask const& task) const noexcept;

    // The queries append to `out` and then sort the whole of it by start time (no order among equal ones; null entries
    // come last).
    // Every task, newest first. Closes (status, end time, record) those whose policy has changed meanwhile, unless the
    // policy is set to keep them.
    void GetTaskHistory(std::vector<ScanTask const*>& out) const noexcept;
    // The task with the greatest start time, the first of equal ones; null entries are skipped. Null: none. The second
    // form asks the history. Without the lock.
    [[nodiscard]] ScanTask const* GetTaskLast(std::vector<ScanTask const*> const& tasks) const noexcept;
    [[nodiscard]] ScanTask const* GetTaskLast() const noexcept;
    // The tasks of a policy, oldest first, and the last of them.
    void GetTaskByPolicyID(HString const& policy_id, std::vector<ScanTask const*>& out) const noexcept;
    [[nodiscard]] ScanTask const* GetTaskLastByPolicyID(HString const& policy_id) const noexcept;
    // The same without realtime tasks and tasks of other kinds than kScanTaskByPolicy.
    void GetPolicyTaskByPolicyID(HString const& policy_id, std::vector<ScanTask const*>& out) const noexcept;
    [[nodiscard]] ScanTask const* GetPolicyTaskLastByPolicyID(HString const& policy_id) const noexcept;
    // The realtime tasks, newest first.
    void GetTaskRealtime(std::vector<ScanTask const*>& out) const noexcept;

    // Removes a task: of the template caches that only it still needed those whose template is defined with another MD5
    // now (those of templates that are no longer defined stay until pruning), its directory (a symbolic link in its
    // place is left alone), its entry; the object stays the caller's. Takes the template manager's lock before the
    // registry's. Duties of the caller: wait for the task's queue first (WaitWritten), since its writer goes on and
    // would try to write for ever what is still queued; do not use a removed id again in this process, for the same
    // writer would serve it.
    void DelTask(ScanTask const& task) noexcept;

    // The writer of a task, made and started when there is none. Null: no such task, its record could not be read, or
    // its store could not be opened or its thread not started for now (then the next call tries again). A task is
    // served under the id in its record, so that one store never has two writers. A writer that exists is found without
    // the registry's lock.
    [[nodiscard]] DLPCacheTask* GetCache(HString const& task_id) noexcept;
    // The same, but null when it is not open.
    [[nodiscard]] DLPCacheTask* GetOpenedCache(HString const& task_id) const noexcept;
    // The file that a task found under a serial number: whether the writer's Find gave anything but 0, so also true for
    // its negative codes. Who needs the code calls GetCache(task_id)->Find(sn, file). The registry's lock is held as by
    // GetCache.
    bool FindTaskSensFileBySN(HString const& task_id, int sn, SensFile& file) const noexcept;
    // The MD5 under which a task used a template; empty when it did not, and when its snapshot cannot be read. A task
    // that is not open is answered from the snapshot in its directory; no thread is started.
    [[nodiscard]] HString GetTaskTplMd5(HString const& task_id, HString const& tpl_id) const noexcept;

    // Waits until everything queued for a task (the id in its record), or for every opened task, is written, at most so
    // many milliseconds (0 or less: only looks). True when it is; a task that is not open has nothing queued. An agent
    // that ends in good order calls this last. Without the registry's lock.
    [[nodiscard]] bool WaitWritten(HString const& task_id, int milliseconds) const noexcept;
    [[nodiscard]] bool WaitAllWritten(int milliseconds) const noexcept;

    // Rebuild what a scan gave from a file of a task, with the template caches that the task used. What is no longer
    // there is logged and left out; without memory a part is missing. They append to lists and hold no lock. A node
    // that shares its file node or its tips with other nodes (QVKKeywordMatchNode) fills what it shares.
    void GetSensMatchNode(SensFile const& file, QVKKeywordMatchNode& node) const noexcept;
    void GetSensMatchItem(SensFile const& file, QVKKeywordMatchItem& item) const noexcept;
    void GetSensFileResult(SensFile const& file, QVKKeywordMatchResult& result) const noexcept;
    // Path, template, data classes and data level. The last template's name is kept. The level is that of today's
    // definitions; the greatest value counts, of equal ones the first template's, and none that is not above the level
    // that the tips have.
    void GetSensMatchTips(SensFile const& file, QVKKeywordFileTips& tips) const noexcept;
    // Sets `merged`, which may be one of them, to the first text (none: all but the positions stays) with the positions
    // of all: per line in ascending order, those of one line sorted and overlapping ones joined. Of two that begin
    // together the longer stays; one that begins within, or at the end of, its predecessor takes over as the end, even
    // where that shortens the span: kept, since readers expect the spans so.
    void MergeMatchFileText(std::vector<QVKKeywordText> const& texts, QVKKeywordText& merged) const noexcept;

  private:
    friend class DLPCache::TplUse;

    // The steps of the operations above. The caller holds the lock; they throw without memory, the noexcept ones do
    // nothing or give false.
    enum class Registered { kReplace, kKeep };
    [[nodiscard]] ScanTask* FindTask(HString const& id, Registered earlier) noexcept;
    void ReadTasks(Registered earlier) noexcept;
    bool TakeTasks(Registered earlier);
    static void TakeRecord(ScanTask read, ScanTask& task) noexcept;
    // Registers what from_file made of a record, under the id in it. Null without memory for the reading.
    ScanTask* TakeTask(std::unique_ptr<ScanTask> task, int failed, HString const& record, Registered earlier);
    void Register(HString const& id, ScanTask* task);
    void CloseTask(ScanTask& task) const noexcept;
    [[nodiscard]] bool AppendHistory(std::vector<ScanTask const*>& out) const noexcept;
    template <class Wanted>
    [[nodiscard]] bool AppendTasks(Wanted const& wanted, std::vector<ScanTask const*>& out) const noexcept;
    // The ids of the tasks of the history, for TplUse. Takes the lock. False when they are not all known: without
    // memory, or when a record cannot be read for now.
    [[nodiscard]] bool GetHistoryIds(std::vector<HString>& ids) noexcept;
    // Makes, starts and records a task's writer. Null (nothing recorded, no thread runs), as GetCache says. The caller
    // holds the lock; throws without memory.
    [[nodiscard]] DLPCacheTask* OpenCache(ScanTask const& task);
    // GetCache, for those that only look something up.
    [[nodiscard]] DLPCacheTask const* CacheOf(HString const& task_id) const noexcept;
    // The opened writer of the least id above `id`, and that id in its place. Null: there is none.
    [[nodiscard]] DLPCacheTask const* NextCache(HString& id) const noexcept;

    // Guards what follows but for caches_; re-entrant. Taken under it: the lock of the writers' map, a writer's queue
    // lock, a store's locks, those of the definitions, the audit policies, the root's path and the log. The template
    // manager's lock is taken before it and never under it.
    mutable HMutex mutex_;
    std::map<HString, ScanTask*> tasks_;  // never null; the key is the task's id
    std::set<ScanTask const*> replaced_;  // by another object with the same id; callers may still hold them
    std::set<ScanTask const*> released_;
    bool all_read_ = true;  // every task directory's record was read, or found to be missing, damaged or no file

    mutable std::shared_mutex caches_mutex_;  // guards caches_, for one look-up or entry; nothing is taken under it
    std::map<HString, DLPCacheTask*> caches_;
};
