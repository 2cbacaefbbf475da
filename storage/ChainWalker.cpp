#include "storage/ChainWalker.h"

#include <algorithm>
#include <new>

#include "host/base/HFileBase.h"

namespace DLPCache {

namespace {

constexpr long long kHeadSize = IndexHead::kSize;
constexpr long long kSlotSize = IndexKey::kSize;
constexpr long long kShortChain = 4;              // slots read singly before the file's size is asked
constexpr int kSinglesBeforeBlock = 16;           // slots read singly before blocks are tried again
constexpr std::size_t kLeastBlock = 4 * 1024;     // bytes
constexpr std::size_t kLargestBlock = 64 * 1024;  // bytes
// A block pays when it serves a slot for each of so many bytes: about what copying costs against one more call.
constexpr std::size_t kBytesWorthASlot = 2048;

}  // namespace

ChainWalker::Step ChainWalker::Fetch(long long position) noexcept {
    ++steps_;
    if (steps_ == kShortChain + 1) {
        CountSlots();
        read_ahead_ = kLeastBlock;
    }
    if (position < 0 || (slots_counted_ && steps_ > slots_)) return Step::kUnreachable;
    if (!Read(position)) return WithinFile() ? Step::kShort : Step::kUnreachable;
    // A slot that was read shows how many slots the file has at least, so that short chains need not ask.
    if (!slots_counted_) slots_ = std::max(slots_, (position + kSlotSize - kHeadSize) / kSlotSize);
    return WithinFile() ? Step::kSlot : Step::kUnreachable;
}

bool ChainWalker::WithinFile() noexcept {
    if (steps_ > slots_) CountSlots();
    return steps_ <= slots_;
}

void ChainWalker::CountSlots() noexcept {
    if (slots_counted_) return;
    slots_counted_ = true;
    long long const size = file_.get_now_size();
    slots_ = std::max(1LL, (size - kHeadSize + kSlotSize - 1) / kSlotSize);
}

bool ChainWalker::Read(long long position) noexcept {
    AdaptBlock();
    return read_ahead_ == 0 ? ReadSingle(position) : ReadBlock(position);
}

bool ChainWalker::ReadSingle(long long position) noexcept {
    ++singles_;
    slot_ = single_;
    return file_.set_pointer(position) == 0 && file_.read(single_, kSlotSize) == kSlotSize;
}

bool ChainWalker::ReadBlock(long long position) noexcept {
    if (block_ == nullptr) block_.reset(new (std::nothrow) std::uint8_t[kLargestBlock]);
    if (block_ == nullptr) return ReadSingle(position);
    if (file_.set_pointer(position) != 0) return false;
    long long const length = file_.read(block_.get(), static_cast<long long>(read_ahead_));
    block_position_ = static_cast<unsigned long long>(position);
    block_starts_ = length < kSlotSize ? 0 : static_cast<std::size_t>(length - kSlotSize + 1);
    block_served_ = 0;
    return ServeFromBlock(position);
}

// Called when the block does not hold the next slot: judges it by what it served.
void ChainWalker::AdaptBlock() noexcept {
    if (steps_ <= kShortChain) return;
    if (read_ahead_ == 0) {
        if (singles_ < kSinglesBeforeBlock) return;
        read_ahead_ = kLeastBlock;
    } else if (block_starts_ != 0) {
        bool const worth = block_served_ * kBytesWorthASlot >= read_ahead_;
        read_ahead_ = worth ? std::min(read_ahead_ * 2, kLargestBlock) : read_ahead_ / 4;
        if (read_ahead_ < kLeastBlock) read_ahead_ = 0;
    }
    singles_ = 0;
    block_starts_ = 0;
}

}  // namespace DLPCache
