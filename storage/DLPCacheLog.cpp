#include "storage/DLPCacheLog.h"

namespace {

HFileLog* MakeLog() {
    auto* const log = new HFileLog;
    log->set_check_mark_file(false);
    Varnok::SetLogFileName(log, "DLPCache");
    Varnok::Global::pins()->logging.store(1, std::memory_order_relaxed);
    return log;
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
