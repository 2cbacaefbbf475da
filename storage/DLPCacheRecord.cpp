#include "storage/DLPCacheRecord.h"

#include <memory>

#include "storage/DLPCacheManager.h"
#include "storage/DLPCacheSerial.h"

namespace DLPCache {

namespace {

template <class Key>
int FindAndDecode(Manager const& store, Key const& key, SerialBasic& record,
                  UnreadableRecord const& unreadable) noexcept {
    unsigned char* bytes = nullptr;
    int length = 0;
    int const found = store.Find(key, bytes, length);
    std::unique_ptr<unsigned char[]> const owner(bytes);
    if (found <= 0) return found;
    if (found == kFound || !bytes || length == 0) return kFound;
    auto const refused = [&](int line) { return unreadable.log.Failed("Find", line, kAssertFalse, unreadable.code); };
    if (!record.FromBuffer(bytes, length)) return refused(unreadable.not_decoded_line);
    if (record.Size() != length) return refused(unreadable.other_size_line);
    return kFoundWithData;
}

}  // namespace

int FindRecord(Manager const& store, int key, SerialBasic& record, UnreadableRecord const& unreadable) noexcept {
    return FindAndDecode(store, key, record, unreadable);
}

int FindRecord(Manager const& store, HString const& key, SerialBasic& record,
               UnreadableRecord const& unreadable) noexcept {
    return FindAndDecode(store, key, record, unreadable);
}

}  // namespace DLPCache
