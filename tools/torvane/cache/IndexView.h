#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "storage/DLPCacheIndexFormat.h"
#include "tools/torvane/cache/FileView.h"

namespace torvane {

using Slot = DLPCache::IndexKey;

// An index file, slot by slot, without trusting a byte of it. One object, one thread.
class IndexView {
  public:
    explicit IndexView(std::string const& path);

    [[nodiscard]] FileView const& file() const { return file_; }
    // The head as it is in the file; nothing when the file is shorter.
    [[nodiscard]] std::optional<DLPCache::IndexHead> const& head() const { return head_; }
    // Whether it is one that the library would accept.
    [[nodiscard]] bool IsHeadValid() const;
    // Whether a part of its end is missing: of the table, or of the last slot.
    [[nodiscard]] bool IsCut() const;
    // Whole slots in the file as it was opened, and the bytes behind the last of them.
    [[nodiscard]] std::uint64_t slots() const;
    [[nodiscard]] std::uint64_t odd_bytes() const;

    // Slot `number`, from 1; false when the file has been cut meanwhile. Leaves the block that NextUsed reads in place.
    [[nodiscard]] bool Peek(std::uint64_t number, Slot& slot) const;

    // Keeps the slots behind the table in memory when they come to `most` bytes or fewer: for following many chains,
    // whose slots lie there in no order. Peek gives them as they were then.
    void KeepChained(std::size_t most);

    // The first used slot from `number` on, as far as the file went when it was opened; nothing when there is none. The
    // quick way through a table that is mostly empty: reads in blocks of about 1 MiB.
    [[nodiscard]] std::optional<std::uint64_t> NextUsed(std::uint64_t number, Slot& slot) const;

    // The slot that begins at this file offset; nothing for an offset that is no slot's.
    [[nodiscard]] std::optional<std::uint64_t> NumberAt(std::int64_t offset) const;
    [[nodiscard]] static std::uint64_t OffsetOf(std::uint64_t number);
    // The first slot of a text key's chain; nothing for bucket 0, which holds no key.
    [[nodiscard]] std::optional<std::uint64_t> FirstSlotOf(std::string_view text_key) const;
    // The key as text, at most 37 characters, up to the first zero.
    [[nodiscard]] static std::string KeyOf(Slot const& slot);
    [[nodiscard]] static bool IsUsed(Slot const& slot) { return slot.str_key[0] != 0; }

    enum class Outcome {
        kFound,
        kAbsent,
        kNoBucket,  // the key falls into bucket 0: it is neither stored nor found
        kBroken,    // the chain leads out of the file, between slots or round in a circle
    };
    struct Search {
        Outcome outcome = Outcome::kAbsent;
        std::uint64_t number = 0;  // of the slot that was found, or of the last one that could be read
        std::uint64_t steps = 0;   // slots that were read
        Slot slot;                 // the one found
    };
    // Follows a text key's chain as the library does, to the first slot that holds the key.
    [[nodiscard]] Search SearchFor(std::string const& text_key) const;

  private:
    struct Block;
    // The bytes of a slot in the block, which is read anew when it does not hold it; null at the file's end.
    [[nodiscard]] std::uint8_t const* Bytes(std::uint64_t number) const;

    FileView file_;
    std::optional<DLPCache::IndexHead> head_;
    std::shared_ptr<Block> block_;
    std::shared_ptr<Block> chained_;
};

}  // namespace torvane
