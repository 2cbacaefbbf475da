#include "tools/torvane/cache/IndexView.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/base/Murmur3.h"

namespace torvane {

using DLPCache::IndexHead;
using DLPCache::IndexKey;

namespace {

constexpr std::uint64_t kSlotsInBlock = (1U << 20U) / IndexKey::kSize;

bool HoldsKey(Slot const& slot, std::string const& key) {
    return std::strncmp(slot.str_key, key.c_str(), IndexKey::kKeyWidth) == 0;
}

}  // namespace

struct IndexView::Block {
    std::uint64_t first = 1;  // slot at the beginning
    std::uint64_t count = 0;  // whole slots in it
    std::vector<std::uint8_t> bytes;

    [[nodiscard]] bool Holds(std::uint64_t number) const { return number >= first && number - first < count; }
    [[nodiscard]] std::uint8_t const* At(std::uint64_t number) const {
        return bytes.data() + (number - first) * IndexKey::kSize;
    }
};

IndexView::IndexView(std::string const& path)
    : file_(path), block_(std::make_shared<Block>()), chained_(std::make_shared<Block>()) {
    std::uint8_t bytes[IndexHead::kSize];
    if (file_.ReadAt(0, bytes) == IndexHead::kSize) head_ = DLPCache::DecodeIndexHead(bytes);
}

bool IndexView::IsHeadValid() const {
    return head_ && std::memcmp(head_->tag, IndexHead::kTag, IndexHead::kTagWidth) == 0 &&
           head_->format_1 == IndexHead::kFormat1 && head_->format_2 == IndexHead::kFormat2 &&
           head_->bucket_count < IndexHead::kBucketCountLimit;
}

bool IndexView::IsCut() const {
    auto const table = static_cast<std::uint64_t>(head_ ? std::max(head_->bucket_count, 0) : 0);
    return slots() < table || odd_bytes() != 0;
}

std::uint64_t IndexView::slots() const {
    return file_.size() < IndexHead::kSize ? 0 : (file_.size() - IndexHead::kSize) / IndexKey::kSize;
}

std::uint64_t IndexView::odd_bytes() const {
    return file_.size() < IndexHead::kSize ? 0 : (file_.size() - IndexHead::kSize) % IndexKey::kSize;
}

std::uint64_t IndexView::OffsetOf(std::uint64_t number) {
    return IndexHead::kSize + (number - 1) * IndexKey::kSize;
}

std::uint8_t const* IndexView::Bytes(std::uint64_t number) const {
    if (number < 1) return nullptr;
    Block& block = *block_;
    if (!block.Holds(number)) {
        block.bytes.resize(kSlotsInBlock * IndexKey::kSize);
        block.first = number;
        block.count = file_.ReadAt(OffsetOf(number), block.bytes) / IndexKey::kSize;
        if (block.count == 0) return nullptr;
    }
    return block.At(number);
}

bool IndexView::Peek(std::uint64_t number, Slot& slot) const {
    if (number < 1) return false;
    for (Block const* const block : {block_.get(), chained_.get()}) {
        if (!block->Holds(number)) continue;
        slot = DLPCache::DecodeIndexKey(block->At(number));
        return true;
    }
    std::uint8_t bytes[IndexKey::kSize];
    if (file_.ReadAt(OffsetOf(number), bytes) != IndexKey::kSize) return false;
    slot = DLPCache::DecodeIndexKey(bytes);
    return true;
}

void IndexView::KeepChained(std::size_t most) {
    auto const table = static_cast<std::uint64_t>(head_ ? std::max(head_->bucket_count, 0) : 0);
    if (slots() <= table || slots() - table > most / IndexKey::kSize) return;
    Block& chained = *chained_;
    chained.bytes.resize((slots() - table) * IndexKey::kSize);
    chained.first = table + 1;
    chained.count = file_.ReadAt(OffsetOf(chained.first), chained.bytes) / IndexKey::kSize;
}

std::optional<std::uint64_t> IndexView::NextUsed(std::uint64_t number, Slot& slot) const {
    for (std::uint64_t const end = slots(); number <= end;) {
        std::uint8_t const* bytes = Bytes(number);
        if (bytes == nullptr) break;
        std::uint64_t const stop = std::min(end, block_->first + block_->count - 1);
        for (; number <= stop; ++number, bytes += IndexKey::kSize) {
            if (*bytes == 0) continue;
            slot = DLPCache::DecodeIndexKey(bytes);
            return number;
        }
    }
    return std::nullopt;
}

std::optional<std::uint64_t> IndexView::NumberAt(std::int64_t offset) const {
    constexpr auto kHead = static_cast<std::int64_t>(IndexHead::kSize);
    constexpr auto kSlot = static_cast<std::int64_t>(IndexKey::kSize);
    if (offset < kHead || (offset - kHead) % kSlot != 0) return std::nullopt;
    return static_cast<std::uint64_t>((offset - kHead) / kSlot) + 1;
}

std::optional<std::uint64_t> IndexView::FirstSlotOf(std::string_view text_key) const {
    auto const buckets = head_ ? static_cast<std::uint32_t>(head_->bucket_count) : 0U;
    if (buckets == 0) return std::nullopt;
    std::uint32_t const bucket = Varnok::Murmur3_32(text_key.data(), static_cast<int>(text_key.size())) % buckets;
    if (bucket == 0) return std::nullopt;
    return bucket;
}

std::string IndexView::KeyOf(Slot const& slot) {
    return {slot.str_key, ::strnlen(slot.str_key, IndexKey::kKeyWidth)};
}

IndexView::Search IndexView::SearchFor(std::string const& text_key) const {
    Search search;
    std::optional<std::uint64_t> number = FirstSlotOf(text_key);
    if (!number) {
        search.outcome = Outcome::kNoBucket;
        return search;
    }
    // Of a file that has grown meanwhile the chain may be longer than it could be when the file was opened.
    std::uint64_t most = slots();
    search.outcome = Outcome::kBroken;
    while (number && Peek(*number, search.slot)) {
        search.number = *number;
        if (++search.steps > most) {
            most = file_.SizeNow() / IndexKey::kSize;
            if (search.steps > most) return search;
        }
        if (HoldsKey(search.slot, text_key)) {
            search.outcome = Outcome::kFound;
            return search;
        }
        if (!IsUsed(search.slot) || search.slot.next == 0) {
            search.outcome = Outcome::kAbsent;
            return search;
        }
        number = NumberAt(search.slot.next);
    }
    return search;
}

}  // namespace torvane
