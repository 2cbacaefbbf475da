#include <iostream>
#include <stdexcept>

#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/Summary.h"
#include "examples/scanner/TaskCommands.h"
#include "host/base/HFile.h"
#include "host/policy/KwLocateMgr.h"

namespace scanner {
namespace {

constexpr int kWaitMilliseconds = 60000;

}  // namespace

int RunRemove(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    ScanTask const& task = RequireTask(options.task);
    std::size_t const before = CountTemplateCaches();
    if (!TaskRegistry().WaitWritten(task.id, kWaitMilliseconds)) {
        throw std::runtime_error("the task's findings are not written yet");
    }
    TaskRegistry().DelTask(task);
    HString const directory = KwLocateMgr::pins()->get_task_path(HString(options.task), false);
    if (HFile::IsFileExistDir(directory)) throw std::runtime_error("cannot remove " + directory.get_str());
    std::cout << "Task removed: " << Printable(options.task)
              << "\nTemplate caches removed, that only it needed: " << before - CountTemplateCaches() << '\n';
    if (!std::cout.flush()) throw std::runtime_error("the outcome cannot be written");
    return kNothingFound;
}

}  // namespace scanner
