#include <iostream>
#include <new>
#include <stdexcept>

#include "examples/scanner/Registry.h"
#include "examples/scanner/Root.h"
#include "examples/scanner/TaskCommands.h"
#include "template/DLPCacheTplMgr.h"

namespace scanner {

int RunPrune(Options const& options) {
    Root const root(options, Root::Use::kOfEarlierScans);
    DLPCacheTplMgr* const caches = DLPCacheTplMgr::pins();
    if (caches == nullptr) throw std::bad_alloc();
    std::size_t const before = CountTemplateCaches();
    caches->UpdataCache();
    std::size_t const after = CountTemplateCaches();
    std::cout << "Template caches removed: " << before - after << " of " << before << '\n';
    if (!std::cout.flush()) throw std::runtime_error("the outcome cannot be written");
    return kNothingFound;
}

}  // namespace scanner
