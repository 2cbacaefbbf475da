#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/check/IndexHeadCheck.h"
#include "tools/torvane/check/Slots.h"

namespace torvane {

// Where the record of a slot lies.
struct Extent {
    std::uint64_t tag = 0;  // of the key; of a number, and of a key that no other slot can hold, the slot's number
    std::int64_t offset = 0;
    std::uint32_t length = 0;  // 0: no record
    std::uint32_t slot = 0;
};

// The extents of the slots of one index that may answer, in memory as long as they are few; else the index is read
// again, piece by piece: never more than `limit` at a time. One object, one thread.
class Extents {
  public:
    static constexpr std::size_t kLimit = std::size_t{1} << 18U;  // 6 MiB, and as much to sort them

    // `answers`: the slots that may answer, a bit each, complete when the first slot has been told the last time.
    Extents(FileView const& index, IndexShape const& shape, std::vector<bool>& answers, std::size_t limit = kLimit);

    // A slot that may answer, in file order. `alone`: no other slot can hold its key, since it is a number's or a
    // bucket's own and without a link.
    void Add(std::uint64_t number, RawSlot slot, bool alone);

    // Takes the answer from every slot whose key has an earlier slot that may answer. How many there are.
    std::uint64_t DropRepeats();

    // Visits the answering slots that have a record, in the order of their records in the data file. `end`: the data
    // file's length; what lies behind it is left out.
    void ForEachByOffset(std::uint64_t end, std::function<void(Extent const&)> const& visit);

  private:
    [[nodiscard]] Extent ExtentOf(std::uint64_t number, RawSlot slot, bool alone) const;
    // Leaves of each key the first.
    void DropRepeatsIn(std::vector<Extent>& extents);
    void DropRepeatsPiecewise();
    void VisitPiecewise(std::uint64_t end, std::function<void(Extent const&)> const& visit);
    template <class Take>
    void ForEachAnswer(Take&& take) const;

    FileView const& index_;
    IndexShape shape_;
    std::vector<bool>& answers_;
    std::size_t limit_;
    std::vector<Extent> alone_;   // with a record
    std::vector<Extent> shared_;  // whose key may have further slots
    bool is_whole_ = true;        // these are all
    std::uint64_t shared_count_ = 0;
    std::uint64_t repeats_ = 0;
};

}  // namespace torvane
