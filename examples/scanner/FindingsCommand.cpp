#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "examples/scanner/RecordedFile.h"
#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/TaskCommands.h"
#include "host/policy/KwLocateMgr.h"
#include "task/DLPCacheTaskStore.h"

namespace scanner {
namespace {

// Whether the task has findings. Opening its store would make one, with the definitions of today as the task's.
bool HasFindings(HString const& task_id) {
    return std::filesystem::exists(KwLocateMgr::pins()->get_task_path(task_id, true).get_str() + "index");
}

// A finding that the task's store has, or why it cannot be read. The record store has the code of a finding without
// some of its definitions too, for data that it cannot read: then the file is empty.
SensFile Find(DLPCacheTask const& task, int sn) {
    SensFile file;
    int const code = task.Find(sn, file);
    bool const lacks_definitions = code == DLPCache::kTaskTplGone && !file.file_path.empty();
    if (code != DLPCache::kTaskFileFound && !lacks_definitions) {
        throw std::runtime_error("cannot be read (code " + std::to_string(code) + ")");
    }
    file.sn = sn;
    return file;
}

DLPCacheTask const& Open(HString const& task_id) {
    DLPCacheTask const* const task = TaskRegistry().GetCache(task_id);
    if (task == nullptr) throw std::runtime_error("the task's findings cannot be opened");
    return *task;
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
    bool all_read = true;
    std::vector<RecordedFile> findings;
    if (HasFindings(id)) findings = ReadAll(id, Open(id), all_read);
    if (options.format == Format::kJson)
        PrintJson(options.task, findings, std::cout);
    else
        PrintText(findings, std::cout);
    if (!std::cout.flush()) throw std::runtime_error("the list cannot be written");
    return all_read ? kNothingFound : kFailed;
}

}  // namespace scanner
