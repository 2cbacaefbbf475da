#include "tools/torvane/cache/StoreStat.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "tools/torvane/cache/StoreView.h"

namespace torvane {

namespace {

constexpr std::size_t kMostChained = std::size_t{32} << 20U;  // bytes of slots behind the table that are kept
constexpr std::size_t kMostKeys = 200000;                     // kept of one chain
constexpr std::size_t kFewKeys = 32;                          // are looked through one by one

// The keys of one chain. Most chains have few slots, and a few have very many.
class ChainKeys {
  public:
    void Clear() {
        few_.clear();
        if (!many_.empty()) many_ = {};  // not clear(), which takes as long as it was large
    }
    // Whether it is a new one.
    bool Add(std::string_view key) {
        if (!many_.empty()) return many_.emplace(key).second;
        if (std::find(few_.begin(), few_.end(), key) != few_.end()) return false;
        few_.emplace_back(key);
        if (few_.size() > kFewKeys) many_.insert(few_.begin(), few_.end());
        return true;
    }
    [[nodiscard]] std::size_t size() const { return many_.empty() ? few_.size() : many_.size(); }

  private:
    std::vector<std::string> few_;
    std::unordered_set<std::string> many_;
};

// The slots of one text index, chain by chain.
class ChainCount {
  public:
    ChainCount(StoreView const& store, StoreStat& stat)
        : store_(store), index_(store.index()), stat_(stat), seen_(index_.slots() + 1) {}

    void Run() {
        auto const buckets = static_cast<std::uint32_t>(index_.head()->bucket_count);
        stat_.buckets += static_cast<std::uint64_t>(std::max(index_.head()->bucket_count, 0));
        Slot slot;
        std::uint64_t used = 0;
        for (auto number = index_.NextUsed(1, slot); number; number = index_.NextUsed(*number + 1, slot)) {
            ++used;
            // The last slot of the table begins no chain: the bucket of its number is bucket 0.
            if (*number < buckets) Follow(*number, slot);
        }
        stat_.wasted_slots = used - std::min(used, stat_.records);
    }

  private:
    void Follow(std::uint64_t number, Slot slot) {
        start_ = number;
        keys_.Clear();
        searching_ = false;
        std::uint64_t length = 0;
        for (;;) {
            if (number < seen_.size()) {
                if (seen_[number]) break;  // a circle, or another chain
                seen_[number] = true;
            } else if (length >= seen_.size()) {
                break;
            }
            if (!IndexView::IsUsed(slot)) break;
            ++length;
            Take(number, slot);
            auto const next = slot.next == 0 ? std::nullopt : index_.NumberAt(slot.next);
            if (!next || !index_.Peek(*next, slot)) break;
            number = *next;
        }
        if (length == 0) return;
        ++stat_.buckets_used;
        stat_.chain_slots += length;
        stat_.longest_chain = std::max(stat_.longest_chain, length);
    }

    void Take(std::uint64_t number, Slot const& slot) {
        if (!IsFirst(number, slot)) return;
        ++stat_.records;
        ++(HasRecord(slot) ? stat_.with_data : stat_.empty);
        if (HasRecord(slot) && LiesWithin(slot, store_.data().size())) {
            stat_.live_bytes += static_cast<std::uint64_t>(slot.length);
        }
    }

    // Whether the library finds the slot's key here. Most chains have one slot.
    bool IsFirst(std::uint64_t number, Slot const& slot) {
        std::string_view const key(slot.str_key, ::strnlen(slot.str_key, DLPCache::IndexKey::kKeyWidth));
        if (key.size() != DLPCache::kTextKeyLength || index_.FirstSlotOf(key) != start_) return false;
        if (number == start_ && slot.next == 0) return true;
        if (searching_) return store_.Answers(number, slot);
        bool const first = keys_.Add(key);
        searching_ = keys_.size() >= kMostKeys;
        return first;
    }

    StoreView const& store_;
    IndexView const& index_;
    StoreStat& stat_;
    std::vector<bool> seen_;
    std::uint64_t start_ = 0;  // the chain's first slot
    ChainKeys keys_;
    bool searching_ = false;  // there are too many to keep
};

// The findings of a task: number k is slot k.
void CountNumbers(StoreView const& store, StoreStat& stat) {
    Slot slot;
    for (auto number = store.index().NextUsed(1, slot); number; number = store.index().NextUsed(*number + 1, slot)) {
        if (!store.Answers(*number, slot)) {
            ++stat.wasted_slots;
            continue;
        }
        ++stat.records;
        ++(HasRecord(slot) ? stat.with_data : stat.empty);
        if (HasRecord(slot) && LiesWithin(slot, store.data().size())) {
            stat.live_bytes += static_cast<std::uint64_t>(slot.length);
        }
    }
}

std::uint64_t OverheadOf(StorePlace const& place) {
    std::uint64_t bytes = 0;
    ForEachName(place.directory, [&](std::string const& name) {
        if (name != "cache") bytes += SizeOfFile(place.directory + "/" + name);
        return true;
    });
    return bytes;
}

}  // namespace

void StoreStat::Add(StoreStat const& other) {
    stores += other.stores;
    damaged_stores += other.damaged_stores;
    records += other.records;
    with_data += other.with_data;
    empty += other.empty;
    wasted_slots += other.wasted_slots;
    live_bytes += other.live_bytes;
    dead_bytes += other.dead_bytes;
    overhead_bytes += other.overhead_bytes;
    buckets += other.buckets;
    buckets_used += other.buckets_used;
    chain_slots += other.chain_slots;
    longest_chain = std::max(longest_chain, other.longest_chain);
    busy = busy || other.busy;
}

double StoreStat::MeanChain() const {
    return buckets_used == 0 ? 0.0 : static_cast<double>(chain_slots) / static_cast<double>(buckets_used);
}

StoreStat CountStore(StorePlace const& place) {
    StoreStat stat;
    stat.stores = 1;
    StoreView store(place);
    IndexLook const look = LookAtIndex(store);
    stat.damaged_stores = look.soundness == Soundness::kDamaged ? 1 : 0;
    if (look.is_readable && store.index().head() && !store.IsLeftover()) {
        if (place.kind == StoreKind::kTask) {
            CountNumbers(store, stat);
        } else {
            store.KeepChained(kMostChained);
            ChainCount(store, stat).Run();
        }
    }
    std::uint64_t const data = store.data().size();
    // Records that overlap, in a damaged store, can come to more than their file.
    stat.live_bytes = std::min(stat.live_bytes, data);
    stat.dead_bytes = data - stat.live_bytes;
    stat.overhead_bytes = OverheadOf(place);
    stat.busy = look.soundness == Soundness::kBusy || store.HasChanged();
    return stat;
}

StoreStat CountTexts(StorePlace const& task) {
    StoreStat stat;
    std::string const directory = task.directory + "/text";
    struct stat status {};
    stat.stores = ::lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
    ForEachName(directory, [&](std::string const& file) {
        std::string name;
        std::uint64_t const bytes = SizeOfFile(directory + "/" + file);
        if (IsArchive(file, name)) {
            ++stat.records;
            ++stat.with_data;
            stat.live_bytes += bytes;
        } else {
            stat.overhead_bytes += bytes;
        }
        return true;
    });
    return stat;
}

}  // namespace torvane
