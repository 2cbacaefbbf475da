#include "task/DLPCacheTaskDirectory.h"

#include <cerrno>
#include <new>

#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"

namespace DLPCache {

namespace {

// Not even a link or a file stands there.
bool IsDirOrMissing(HString const& path) {
    return path.not_empty() && !HFile::IsFileExistFile(path);
}

bool IsTaskDirectory(HString const& directory, HString const& task_id) {
    KwLocateMgr const& paths = *KwLocateMgr::pins();
    return HFile::IsFileExistDir(directory) && HFile::IsFileExistDir(paths.get_task_path(false)) &&
           directory.get_short_name() == Varnok::IdToFileName(task_id) &&
           directory.is_begin_by(paths.get_cache_path(true), true);
}

int DeleteAllBut(HString const& kept, HString const& directory) {
    HDirSnap snap;
    snap.set_file(directory);
    if (!snap.snap()) return EIO;
    int first_error = 0;
    for (HDirSnap::Entry const& entry : snap.entries()) {
        if (entry.path == kept) continue;
        int const failed = entry.is_dir ? HFile::delete_dir_recur(entry.path) : HFile::delete_file2(entry.path);
        if (first_error == 0) first_error = failed;
    }
    return first_error;
}

}  // namespace

bool IsTaskDirectoryFree(HString const& task_id) {
    KwLocateMgr const& paths = *KwLocateMgr::pins();
    return task_id.not_empty() && IsDirOrMissing(paths.get_task_path(false)) &&
           IsDirOrMissing(paths.get_task_path(task_id, false));
}

bool IsTaskDirectoryTaken(HString const& task_id) {
    KwLocateMgr const& paths = *KwLocateMgr::pins();
    HString const tasks_path = paths.get_task_path(false);
    HString const path = paths.get_task_path(task_id, false);
    if (tasks_path.empty() || path.empty()) throw std::bad_alloc();
    return HFile::IsOtherThanDir(tasks_path) || HFile::IsOtherThanDir(path);
}

int DeleteTaskDirectory(HString const& task_id) {
    HString const directory = KwLocateMgr::pins()->get_task_path(task_id, false);
    if (directory.empty() || KwLocateMgr::pins()->get_cache_path(true).empty()) throw std::bad_alloc();
    if (task_id.empty() || !IsTaskDirectory(directory, task_id)) return 0;
    int const failed = DeleteAllBut(KwLocateMgr::pins()->get_task_arc(task_id), directory);
    return failed != 0 ? failed : HFile::delete_dir_recur(directory);
}

}  // namespace DLPCache
