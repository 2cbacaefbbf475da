#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace torvane {

// Which appended slots a chain leads to, and which bucket's, found out in one pass through the file: the library
// appends a slot before it links it, so that every link leads forward. A bit per slot, and the bucket of the next
// 2,097,152 slots that links may lead to. One object, one thread.
class Chains {
  public:
    // Slots 1 to `table` are the buckets' own.
    Chains(std::uint64_t table, std::uint64_t slots);

    enum class Link { kTaken, kBackward, kShared };
    // A link of the slot `from` to `to`, in the chain of `bucket` (not 0). kBackward: to itself, to one before it or
    // into the table; kShared: another link leads there already.
    [[nodiscard]] Link Take(std::uint64_t from, std::uint64_t to, std::uint32_t bucket);

    // To be asked once per appended slot, in file order: the bucket whose chain leads to it. 0: none does; nothing: one
    // does, too far back to be remembered.
    [[nodiscard]] std::optional<std::uint32_t> Arrive(std::uint64_t number);

    // A bit per slot from 0 on, for the caller once it has arrived there.
    [[nodiscard]] std::vector<bool>& marks() { return marks_; }

  private:
    std::uint64_t table_;
    std::vector<bool> marks_;             // behind the slot arrived at: a chain leads there
    std::vector<std::uint32_t> buckets_;  // a ring
};

}  // namespace torvane
