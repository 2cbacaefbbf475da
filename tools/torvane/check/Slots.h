#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "host/base/LittleEndian.h"
#include "storage/DLPCacheIndexFormat.h"
#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/IndexView.h"

namespace torvane {

// The bytes of a slot, looked at where they lie. They stay the reader's.
class RawSlot {
  public:
    explicit RawSlot(std::uint8_t const* bytes) : bytes_(bytes) {}

    [[nodiscard]] bool IsUsed() const { return bytes_[0] != 0; }
    [[nodiscard]] bool IsZero() const {
        // Eight words, of which the last begins one byte before the slot's last eight.
        std::uint64_t const all = Word(0) | Word(8) | Word(16) | Word(24) | Word(32) | Word(40) | Word(48) | Word(49);
        static_assert(49 + sizeof(std::uint64_t) == DLPCache::IndexKey::kSize);
        return all == 0;
    }
    [[nodiscard]] char const* key() const { return reinterpret_cast<char const*>(bytes_); }
    [[nodiscard]] std::string KeyText() const { return {key(), ::strnlen(key(), DLPCache::IndexKey::kKeyWidth)}; }
    [[nodiscard]] std::int64_t offset() const { return Load<long long>(DLPCache::IndexKey::kOffsetOffset); }
    [[nodiscard]] std::int32_t length() const { return Load<int>(DLPCache::IndexKey::kLengthOffset); }
    [[nodiscard]] std::int64_t next() const { return Load<long long>(DLPCache::IndexKey::kNextOffset); }
    // As the library judges it: the key is there, without a record.
    [[nodiscard]] bool IsWithoutData() const { return length() == 0 || offset() == -1; }
    // As the library writes it: either half alone is damage, after which it takes the record for missing. Of a policy's
    // counts each key has a record; a number without one is what a repair leaves of a finding that is lost.
    [[nodiscard]] bool SaysNoData(StoreKind kind) const {
        return kind != StoreKind::kCounter && length() == 0 && offset() == -1;
    }
    [[nodiscard]] bool IsPlacePossible(StoreKind kind) const {
        return SaysNoData(kind) || (offset() >= 0 && length() > 0);
    }

    // 32 lower-case hexadecimal digits and their end.
    [[nodiscard]] bool HoldsTextKey() const;
    // The decimal text of this number.
    [[nodiscard]] bool HoldsNumber(std::uint64_t number) const;
    // Of a text key; of `buckets`, which is not 0.
    [[nodiscard]] std::uint32_t BucketOf(std::uint32_t buckets) const;
    // Tells text keys apart: 64 bits of a hash, which the keys of one index do not share by chance.
    [[nodiscard]] std::uint64_t Tag() const;

  private:
    template <class Integer>
    [[nodiscard]] Integer Load(std::size_t at) const {
        return Varnok::LoadLittleEndian<Integer>(bytes_ + at);
    }
    [[nodiscard]] std::uint64_t Word(std::size_t at) const {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes_ + at, sizeof word);
        return word;
    }

    std::uint8_t const* bytes_;
};

// Calls visit(number, RawSlot) for the slots from `first` to `last` in file order, as far as the file goes by now.
// Throws Stop(kIo). Reads in pieces that stay in the processor's cache.
template <class Visit>
void ForEachSlot(FileView const& file, std::uint64_t first, std::uint64_t last, Visit&& visit) {
    constexpr std::size_t kSlotSize = DLPCache::IndexKey::kSize;
    constexpr std::uint64_t kSlotsInBlock = 1024;
    std::vector<std::uint8_t> block(kSlotsInBlock * kSlotSize);
    for (std::uint64_t number = first; number <= last;) {
        auto const wanted = static_cast<std::size_t>(std::min(kSlotsInBlock, last - number + 1));
        std::size_t const slots =
            file.ReadAt(IndexView::OffsetOf(number), {block.data(), wanted * kSlotSize}) / kSlotSize;
        for (std::size_t i = 0; i < slots; ++i, ++number)
            visit(number, RawSlot(block.data() + i * kSlotSize));
        if (slots < wanted) return;
    }
}

}  // namespace torvane
