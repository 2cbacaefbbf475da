#pragma once

#include <cstdint>

#include "tools/torvane/cache/CacheRoot.h"

namespace torvane {

// What a number of stores of one kind, or everything, comes to. Bytes of the data files are live (an answer names them)
// or dead; those of every other file of the stores are overhead.
struct StoreStat {
    std::uint64_t stores = 0;
    std::uint64_t damaged_stores = 0;  // whose index cannot be told apart; their files are overhead
    std::uint64_t records = 0;         // keys that the library finds
    std::uint64_t with_data = 0;
    std::uint64_t empty = 0;
    std::uint64_t wasted_slots = 0;  // used, but no key is answered from them
    std::uint64_t live_bytes = 0;
    std::uint64_t dead_bytes = 0;
    std::uint64_t overhead_bytes = 0;
    std::uint64_t buckets = 0;  // of the tables; none for numbers
    std::uint64_t buckets_used = 0;
    std::uint64_t chain_slots = 0;  // of all chains
    std::uint64_t longest_chain = 0;
    bool busy = false;  // something changed while it was counted

    // Adds what `other` comes to.
    void Add(StoreStat const& other);
    // Slots per used bucket; 0 for none.
    [[nodiscard]] double MeanChain() const;
};

// Counts one store: constant memory but for a bit per slot, at most 32 MiB of chained slots, and a key per slot of the
// chain that it is at (for a chain of more than 200,000 different keys those are searched for instead). Throws
// Stop(kIo).
[[nodiscard]] StoreStat CountStore(StorePlace const& place);
// The extracted texts of a task as a store of their own: one record and its file each.
[[nodiscard]] StoreStat CountTexts(StorePlace const& task);

}  // namespace torvane
