#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "storage/DLPCacheIndexFormat.h"

class HFileBase;

namespace DLPCache {

// Reads the slots of one chain of an index file, one after the other, wherever the chain leads. What it gives is what a
// positioned read of 57 bytes per slot would give; a chain of more than a few slots is read ahead in blocks that grow
// while they serve many slots and shrink to single reads where the chain jumps about.
//
// No chain is walked further than its file has slots, one that is cut short at the end included: what lies beyond is
// out of reach. The file stays the caller's, its position is undefined afterwards. One walker, one chain, one thread.
// Without memory for blocks it reads slot by slot.
class ChainWalker {
  public:
    enum class Step {
        kSlot,         // Slot() holds the slot
        kUnreachable,  // a negative position, or more steps than the file has slots
        kShort,        // the file ends before the slot does
    };
    using Bytes = std::span<std::uint8_t const, IndexKey::kSize>;

    explicit ChainWalker(HFileBase& file) noexcept : file_(file) {}

    // Reads the slot at the file offset `position`.
    [[nodiscard]] Step MoveTo(long long position) noexcept {
        // The way of nearly every slot of a long chain, kept short.
        if (steps_ < slots_ && ServeFromBlock(position)) {
            ++steps_;
            return Step::kSlot;
        }
        return Fetch(position);
    }
    // The slot as it is in the file; valid until the next move.
    [[nodiscard]] Bytes Slot() const noexcept { return Bytes(slot_, IndexKey::kSize); }

  private:
    [[nodiscard]] Step Fetch(long long position) noexcept;
    [[nodiscard]] bool WithinFile() noexcept;
    void CountSlots() noexcept;
    [[nodiscard]] bool Read(long long position) noexcept;
    [[nodiscard]] bool ReadSingle(long long position) noexcept;
    [[nodiscard]] bool ReadBlock(long long position) noexcept;
    void AdaptBlock() noexcept;
    [[nodiscard]] bool ServeFromBlock(long long position) noexcept {
        // A position before the block is a huge distance.
        auto const distance = static_cast<unsigned long long>(position) - block_position_;
        if (distance >= block_starts_) return false;
        slot_ = block_.get() + distance;
        ++block_served_;
        return true;
    }

    HFileBase& file_;
    std::uint8_t single_[IndexKey::kSize] = {};
    std::uint8_t const* slot_ = single_;

    long long steps_ = 0;
    long long slots_ = 1;         // slots that the file is known to have; the first step is always tried
    bool slots_counted_ = false;  // ... and it has no more

    std::unique_ptr<std::uint8_t[]> block_;
    unsigned long long block_position_ = 0;  // file offset of the block's first byte
    std::size_t block_starts_ = 0;           // places in it where a whole slot can start; 0: it holds nothing
    std::size_t block_served_ = 0;           // slots taken from it
    std::size_t read_ahead_ = 0;             // bytes to read next time; 0: slot by slot
    int singles_ = 0;                        // slots read singly since blocks were last tried
};

}  // namespace DLPCache
