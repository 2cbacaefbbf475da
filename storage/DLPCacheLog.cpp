#include "storage/DLPCacheLog.h"

#include <memory>

namespace {

HFileLog* MakeLog() {
    auto log = std::make_unique<HFileLog>();
    log->set_check_mark_file(false);
    Varnok::SetLogFileName(log.get(), "DLPCache");
    Varnok::Global::pins()->logging.store(1, std::memory_order_relaxed);
    return log.release();
}

}  // namespace

HFileLog* DLPCacheLog::pins() noexcept {
    try {
        // A maker that throws leaves the pointer unmade: the next call tries again.
        static HFileLog* const gplog = MakeLog();
        return gplog;
    } catch (...) {
        return nullptr;
    }
}
