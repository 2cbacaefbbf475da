#pragma once

#include "storage/DLPCacheSerial.h"

namespace DLPCache {

// How many times one file was found, per kind of check. See SerialBasic for threads and failures. As a record: its
// length (16, counting itself), then the three counts, 32 bits each.
class TORVANE_API SensRecordNode final : public SerialBasic {
  public:
    using SerialBasic::Size;
    [[nodiscard]] int Size() const override;
    [[nodiscard]] bool Write(Varnok::Writer* w) override;
    [[nodiscard]] bool Read(Varnok::Reader* r, int size) override;

    int realtime_count = 0;
    int policy_count = 0;
    int tool_count = 0;
};

}  // namespace DLPCache
