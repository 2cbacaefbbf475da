#include "sensrecord/DLPCacheSensRecordNode.h"

#include "host/base/Reader.h"
#include "host/base/Writer.h"
#include "sensrecord/DLPCacheSensRecordLog.h"

namespace DLPCache {

int SensRecordNode::Size() const {
    return kSize;
}

bool SensRecordNode::Write(Varnok::Writer* w) {
    if (!w) return kSensRecordLog.Failed("Write", 34, kAssertNull, false);
    auto const written = [w](int line, int value) {
        int const n = w->write_int32(value);
        return n == 4 || kSensRecordLog.Failed("Write", line, kAssertWriteInt32, n, false);
    };
    return written(36, Size()) && written(37, realtime_count) && written(38, policy_count) && written(39, tool_count);
}

bool SensRecordNode::Read(Varnok::Reader* r, int /*size*/) {
    if (!r) return kSensRecordLog.Failed("Read", 46, kAssertNull, false);
    auto const read = [r](int line, int& value) {
        int const n = r->read_int32(value);
        return n == 4 || kSensRecordLog.Failed("Read", line, kAssertReadInt32, n, false);
    };
    int length = 0;
    if (!read(49, length)) return false;
    if (length != Size()) return kSensRecordLog.Failed("Read", 50, kAssertFalse, false);
    return read(52, realtime_count) && read(53, policy_count) && read(54, tool_count);
}

}  // namespace DLPCache
