#include <algorithm>
#include <iostream>
#include <new>
#include <stdexcept>

#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/Summary.h"
#include "examples/scanner/TaskCommands.h"
#include "host/base/HFile.h"
#include "host/policy/KwLocateMgr.h"
#include "template/DLPCacheTplMgr.h"

namespace scanner {
namespace {

constexpr int kWaitMilliseconds = 60000;

// Deletes the task and what only it needed. What it needed of the answers is told by its record.
void Delete(ScanTask const& task) {
    TaskRegistry().DelTask(task);
    HString const directory = KwLocateMgr::pins()->get_task_path(task.id, false);
    if (HFile::IsFileExistDir(directory)) throw std::runtime_error("cannot remove " + directory.get_str());
    std::cout << "Task removed: " << Printable(task.id.get_str()) << '\n';
}

void DeleteWithoutRecord(HString const& id) {
    ScanTask task;
    task.id = id;
    Delete(task);
    std::cout << "Its record was damaged or missing; scanner prune deletes the answers that only it needed.\n";
}

// The registry knows a task by any record that names it, but what is deleted is the directory of its name.
void RequireOwnRecord(HString const& id) {
    ScanTask record;
    if (record.from_file(KwLocateMgr::pins()->get_task_arc(id)) == 0 && record.id == id) return;
    std::string const directory = DirectoryOfRecord(id);
    throw std::runtime_error("the record of the task \"" + id.get_str() + "\" " +
                             (directory.empty() ? "cannot be read" : "lies in " + directory) + "; nothing was removed");
}

void DeleteRemembered(ScanTask const& task) {
    RequireOwnRecord(task.id);
    if (!TaskRegistry().WaitWritten(task.id, kWaitMilliseconds)) {
        throw std::runtime_error("the task's findings are not written yet");
    }
    // Its making removes directories that hold nothing, which are not to be counted.
    if (DLPCacheTplMgr::pins() == nullptr) throw std::bad_alloc();
    std::size_t const before = CountTemplateCaches();
    Delete(task);
    std::size_t const after = std::min(before, CountTemplateCaches());  // more when one could not be listed before
    std::cout << "Template caches removed, that only it needed: " << before - after << '\n';
}

}  // namespace

int RunRemove(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    (void)TaskRegistry();  // which removes directories that hold nothing
    HString const id(options.task);
    if (HasLostItsRecord(id))
        DeleteWithoutRecord(id);
    else
        DeleteRemembered(RequireTask(options.task));
    if (!std::cout.flush()) throw std::runtime_error("the outcome cannot be written");
    return kNothingFound;
}

}  // namespace scanner
