#pragma once

#include <memory>
#include <string>

#include "storage/DLPCacheSerial.h"

// A record to bytes and back, as the record stores do it.

// "not encoded" when the record refuses.
inline std::string ToBytes(DLPCache::SerialBasic& record) {
    unsigned char* bytes = nullptr;
    int length = 0;
    if (!record.ToBuffer(bytes, length)) return "not encoded";
    std::unique_ptr<unsigned char[]> const owner(bytes);
    return {bytes, bytes + length};
}

inline bool FromBytes(DLPCache::SerialBasic& record, std::string bytes) {
    return record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
}
