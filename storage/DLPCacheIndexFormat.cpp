#include "storage/DLPCacheIndexFormat.h"

#include <cstring>

#include "host/base/LittleEndian.h"

namespace DLPCache {

using Varnok::LoadLittleEndian;
using Varnok::StoreLittleEndian;

void EncodeIndexHead(IndexHead const& head, std::uint8_t* bytes) noexcept {
    std::memcpy(bytes, head.tag, IndexHead::kTagWidth);
    StoreLittleEndian(head.terminator, bytes + IndexHead::kTerminatorOffset);
    StoreLittleEndian(head.format_1, bytes + IndexHead::kFormat1Offset);
    StoreLittleEndian(head.format_2, bytes + IndexHead::kFormat2Offset);
    StoreLittleEndian(head.bucket_count, bytes + IndexHead::kBucketCountOffset);
}

IndexHead DecodeIndexHead(std::uint8_t const* bytes) noexcept {
    IndexHead head;
    std::memcpy(head.tag, bytes, IndexHead::kTagWidth);
    head.terminator = LoadLittleEndian<char>(bytes + IndexHead::kTerminatorOffset);
    head.format_1 = LoadLittleEndian<signed char>(bytes + IndexHead::kFormat1Offset);
    head.format_2 = LoadLittleEndian<signed char>(bytes + IndexHead::kFormat2Offset);
    head.bucket_count = LoadLittleEndian<int>(bytes + IndexHead::kBucketCountOffset);
    return head;
}

void EncodeIndexKey(IndexKey const& key, std::uint8_t* bytes) noexcept {
    std::memcpy(bytes, key.str_key, IndexKey::kKeyWidth);
    StoreLittleEndian(key.offset, bytes + IndexKey::kOffsetOffset);
    StoreLittleEndian(key.length, bytes + IndexKey::kLengthOffset);
    StoreLittleEndian(key.next, bytes + IndexKey::kNextOffset);
}

IndexKey DecodeIndexKey(std::uint8_t const* bytes) noexcept {
    IndexKey key;
    std::memcpy(key.str_key, bytes, IndexKey::kKeyWidth);
    key.offset = LoadLittleEndian<long long>(bytes + IndexKey::kOffsetOffset);
    key.length = LoadLittleEndian<int>(bytes + IndexKey::kLengthOffset);
    key.next = LoadLittleEndian<long long>(bytes + IndexKey::kNextOffset);
    return key;
}

}  // namespace DLPCache
