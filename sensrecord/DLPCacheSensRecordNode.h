#pragma once

#include "storage/DLPCacheSerial.h"

namespace DLPCache {

// How many times one file was found, per kind of check. See SerialBasic for threads and failures. As a record: its
// length (16, counting itself), then the three counts, 32 bits each.
class TORVANE_API SensRecordNode final : public SerialBasic {
  public:
    static constexpr int kSize = 16;  // bytes of every record

    using SerialBasic::Size;
    [[nodiscard]] int Size() const override;
    [[nodiscard]] bool Write(Varnok::Writer* w) override;
    // False as well when the record says another length than it has. The counts are then as far as they were read.
    [[nodiscard]] bool Read(Varnok::Reader* r, int size) override;

    int realtime_count = 0;
    int policy_count = 0;
    int tool_count = 0;
};

}  // namespace DLPCache
