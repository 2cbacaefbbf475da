#pragma once

#include "host/base/HString.h"
#include "storage/DLPCacheLog.h"

namespace DLPCache {

class Manager;
class SerialBasic;

// What the owner of a record store logs and returns for a record that cannot be read.
struct UnreadableRecord {
    SourceLog log;
    int not_decoded_line;
    int other_size_line;
    int code;
};

// Reads the record of a key and decodes it into `record`. kFoundWithData: decoded, its size being the stored length;
// kFound: present without data; kDone: not present; `unreadable.code`, logged; or a negative code of the store. Any
// thread that owns the record; nothing throws.
[[nodiscard]] int FindRecord(Manager const& store, int key, SerialBasic& record,
                             UnreadableRecord const& unreadable) noexcept;
[[nodiscard]] int FindRecord(Manager const& store, HString const& key, SerialBasic& record,
                             UnreadableRecord const& unreadable) noexcept;

}  // namespace DLPCache
