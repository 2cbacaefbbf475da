#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tools/torvane/cache/IndexView.h"
#include "tools/torvane/check/Chains.h"
#include "tools/torvane/check/Extents.h"
#include "tools/torvane/check/Finding.h"
#include "tools/torvane/check/IndexHeadCheck.h"
#include "tools/torvane/check/Slots.h"

namespace torvane {

// The slots of an index, each for itself and with its links, in one pass in file order: keys, the buckets that they lie
// in, links, the places of the records. Leaves behind which slots may answer. One object, one thread.
class SlotCheck {
  public:
    // `data_path`: the data file's, whose length is looked at when it decides something. `hash_all`: without it, the
    // bucket of a key that is alone in its chain is not worked out.
    SlotCheck(IndexView const& index, IndexShape const& shape, std::string data_path, bool hash_all,
              Reporter const& report);

    // Once. Throws Stop(kIo).
    void Run();

    // A bit per slot: it may answer, as far as the index alone tells.
    [[nodiscard]] std::vector<bool>& answers() { return chains_.marks(); }
    [[nodiscard]] Extents& extents() { return extents_; }
    // The slots whose key does not belong to their chain, a bit each; empty when there are none.
    [[nodiscard]] std::vector<bool>& misplaced() { return misplaced_; }
    // Entries with a record, without there being a data file.
    [[nodiscard]] std::uint64_t without_file() const { return without_file_; }

  private:
    void VisitNumber(std::uint64_t number, RawSlot slot);
    void VisitText(std::uint64_t number, RawSlot slot);
    void VisitUnused(std::uint64_t number, RawSlot slot);
    // The bucket whose chain the slot belongs to; 0: none. `own`: that of its key, or 0.
    [[nodiscard]] std::uint32_t ChainOf(std::uint64_t number, std::uint32_t own);
    // Whether the slot lies where its key is looked for.
    [[nodiscard]] bool IsInPlace(std::uint64_t number, RawSlot slot, std::uint32_t own, std::uint32_t chain);
    void FollowLink(std::uint64_t number, RawSlot slot, std::uint32_t chain);
    [[nodiscard]] bool IsRecordInside(std::uint64_t number, RawSlot slot);
    void Broken(char const* kind, std::uint64_t number, std::uint32_t chain, std::string what);
    // Of a slot that no chain leads to.
    void SayUnreachable(std::uint64_t number, RawSlot slot, std::uint32_t own);
    // Why no kill can have left it; empty: one can.
    [[nodiscard]] std::string WhyCutOff(RawSlot slot, std::uint32_t own) const;
    // Empty slots behind the table that no chain leads to, or of numbers, which have no table; those side by side are
    // told together.
    void VisitHole(std::uint64_t number);
    void TellHole();
    void TellEmpty();
    void Break(std::uint32_t bucket);
    [[nodiscard]] static Reporter::Place At(std::uint64_t number);

    IndexView const& index_;
    IndexShape shape_;
    std::string data_path_;
    bool hash_all_;
    std::uint64_t data_size_ = 0;  // when it was looked at last
    Reporter const& report_;
    Chains chains_;
    Extents extents_;
    std::set<std::uint32_t> broken_;  // buckets with a bad link, the first thousands of them
    std::vector<bool> misplaced_;
    std::uint64_t without_file_ = 0;
    std::uint64_t first_empty_ = 0;  // number without a record
    std::uint64_t empty_ = 0;        // how many
    std::uint64_t hole_ = 0;         // its first slot
    std::uint64_t hole_length_ = 0;
};

}  // namespace torvane
