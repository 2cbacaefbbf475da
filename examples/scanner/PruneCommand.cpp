#include <algorithm>
#include <cstring>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>

#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/Summary.h"
#include "examples/scanner/TaskCommands.h"
#include "examples/scanner/Troubles.h"
#include "host/policy/KwLocateMgr.h"
#include "template/DLPCacheTplMgr.h"

namespace scanner {
namespace {

// Tells of the tasks whose records keep no answers, or all.
void ReportUnreadableTasks() {
    Troubles troubles(std::cerr);
    (void)TaskRegistry();  // which removes directories that hold nothing
    for (HString const& id : UnreadableTasks()) {
        ScanTask record;
        int const error = record.from_file(KwLocateMgr::pins()->get_task_arc(id));
        std::string const directory = Printable(DirectoryOf(id));
        if (error == 0 || HasLostItsRecord(id))
            troubles.Add("no task's own record is in " + directory + "; the answers that it used are not kept");
        else
            troubles.Add("the record in " + directory + " cannot be read: " + std::strerror(error) +
                         "; no answers are removed");
    }
    troubles.End();
}

}  // namespace

int RunPrune(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    DLPCacheTplMgr* const caches = DLPCacheTplMgr::pins();
    if (caches == nullptr) throw std::bad_alloc();
    ReportUnreadableTasks();
    std::size_t const before = CountTemplateCaches();
    caches->UpdataCache();
    std::size_t const after = std::min(before, CountTemplateCaches());  // more when one could not be listed before
    std::cout << "Template caches removed: " << before - after << " of " << before << '\n';
    if (!std::cout.flush()) throw std::runtime_error("the outcome cannot be written");
    return kNothingFound;
}

}  // namespace scanner
