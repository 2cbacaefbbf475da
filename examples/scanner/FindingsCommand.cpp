#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "examples/scanner/RecordedFile.h"
#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/TaskCommands.h"
#include "examples/scanner/Troubles.h"
#include "task/DLPCacheTaskStore.h"

namespace scanner {
namespace {

constexpr int kMostMissing = 1000;  // findings in a row

// Whether the task has findings. Opening its store would make one, with the definitions of today as the task's.
bool HasFindings(HString const& task_id) {
    std::string const directory = DirectoryOf(task_id);
    if (std::filesystem::exists(directory + "index")) return true;
    if (!std::filesystem::exists(directory + "cache")) return false;
    throw std::runtime_error("the index of the findings is missing in " + directory);
}

// A finding of the task's store: kTaskFileFound, or why it cannot be read. The record store has the code of a finding
// without some of its definitions too, for data that it cannot read: then the file is empty.
int Find(DLPCacheTask const& task, int sn, SensFile& file) {
    int const code = task.Find(sn, file);
    bool const lacks_definitions = code == DLPCache::kTaskTplGone && !file.file_path.empty();
    if (!lacks_definitions) return code;
    file.sn = sn;
    return DLPCache::kTaskFileFound;
}

DLPCacheTask const& Open(HString const& task_id) {
    DLPCacheTask const* const task = TaskRegistry().GetCache(task_id);
    if (task == nullptr) throw std::runtime_error("the task's findings cannot be opened");
    return *task;
}

// Tells of findings that are missing, the numbers that follow each other at once.
class Gap {
  public:
    explicit Gap(Troubles& troubles) : troubles_(troubles) {}

    void Add(int sn) {
        if (count_++ == 0) first_ = sn;
    }
    [[nodiscard]] int count() const { return count_; }
    // `more`: what else there is to say.
    void End(std::string const& more = "") {
        if (count_ == 0) return;
        std::string const first = std::to_string(first_);
        troubles_.Add((count_ == 1 ? "finding " + first + " is"
                                   : "findings " + first + " to " + std::to_string(first_ + count_ - 1) + " are") +
                      " missing" + more);
        count_ = 0;
    }

  private:
    Troubles& troubles_;
    int first_ = 0;
    int count_ = 0;
};

// Goes as far as the index does, but not through a hole: numbers are handed out one after the other, so an index that
// holds nothing for so many has grown by other means.
void PrintAll(HString const& task_id, DLPCacheTask const& task, FindingsPrinter& printer, Troubles& troubles) {
    long long const last = task.store() == nullptr ? 0 : task.store()->GetIndexNumber();
    Gap gap(troubles);
    for (long long number = 1; number <= last && std::cout; ++number) {
        int const sn = static_cast<int>(number);
        SensFile file;
        int const code = Find(task, sn, file);
        if (code == DLPCache::kTaskFileAbsent) {
            gap.Add(sn);
            if (gap.count() == kMostMissing && number < last) return gap.End("; the list ends here, the index goes on");
            continue;
        }
        gap.End();
        if (code == DLPCache::kTaskFileFound)
            printer.Print(Rebuild(task_id, std::move(file)));
        else
            troubles.Add("finding " + std::to_string(sn) + " cannot be read (code " + std::to_string(code) + ")");
    }
    gap.End();
}

}  // namespace

int RunFindings(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    HString const id = RequireTask(options.task).id;
    FindingsPrinter printer(options.format, options.task, std::cout);
    Troubles troubles(std::cerr);
    if (HasFindings(id)) PrintAll(id, Open(id), printer, troubles);
    printer.End(troubles.count());
    troubles.End();
    if (!std::cout.flush()) throw std::runtime_error("the list cannot be written");
    return troubles.count() == 0 ? kNothingFound : kFailed;
}

}  // namespace scanner
