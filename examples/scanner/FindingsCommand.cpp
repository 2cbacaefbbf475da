#include <iostream>
#include <stdexcept>

#include "examples/scanner/RecordedFile.h"
#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/TaskCommands.h"
#include "task/DLPCacheTaskStore.h"

namespace scanner {
namespace {

// A finding that the task's store has, or why it cannot be read.
SensFile Find(DLPCacheTask const& task, int sn) {
    SensFile file;
    int const code = task.Find(sn, file);
    if (code != DLPCache::kTaskFileFound && code != DLPCache::kTaskTplGone) {
        throw std::runtime_error("cannot be read (code " + std::to_string(code) + ")");
    }
    return file;
}

// All that can be read; the others are told of.
std::vector<RecordedFile> ReadAll(HString const& task_id, DLPCacheTask const& task, bool& all_read) {
    std::vector<RecordedFile> findings;
    int const last = task.store() == nullptr ? 0 : task.store()->GetIndexNumber();
    for (int sn = 1; sn <= last; ++sn) {
        try {
            findings.push_back(Rebuild(task_id, Find(task, sn)));
        } catch (std::runtime_error const& error) {
            std::cerr << "scanner: finding " << sn << " " << error.what() << '\n';
            all_read = false;
        }
    }
    return findings;
}

}  // namespace

int RunFindings(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    HString const id = RequireTask(options.task).id;
    DLPCacheTask const* const task = TaskRegistry().GetCache(id);
    if (task == nullptr) throw std::runtime_error("the task's findings cannot be opened");
    bool all_read = true;
    std::vector<RecordedFile> const findings = ReadAll(id, *task, all_read);
    if (options.format == Format::kJson)
        PrintJson(options.task, findings, std::cout);
    else
        PrintText(findings, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the list cannot be written");
    return all_read ? kNothingFound : kFailed;
}

}  // namespace scanner
