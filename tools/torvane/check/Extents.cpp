#include "tools/torvane/check/Extents.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace torvane {

namespace {

// Least digit first, in as few digits of at most 12 bits as it takes: the offsets are in no order at all, and comparing
// takes several times as long.
void SortByOffset(std::vector<Extent>& extents) {
    constexpr int kMostBits = 12;
    std::uint64_t all = 0;
    for (Extent const& extent : extents)
        all |= static_cast<std::uint64_t>(extent.offset);
    auto const bits = static_cast<int>(std::bit_width(all));
    int const digits = (bits + kMostBits - 1) / kMostBits;
    std::vector<Extent> sorted(extents.size());
    std::vector<std::size_t> ends;
    for (int digit = 0; digit < digits; ++digit) {
        int const width = (bits + digits - 1) / digits;
        auto const digit_of = [width, shift = digit * width](Extent const& extent) {
            return static_cast<std::uint64_t>(extent.offset) >> shift & ((std::uint64_t{1} << width) - 1);
        };
        ends.assign((std::size_t{1} << width) + 1, 0);
        for (Extent const& extent : extents)
            ++ends[digit_of(extent) + 1];
        std::partial_sum(ends.begin(), ends.end(), ends.begin());
        for (Extent const& extent : extents)
            sorted[ends[digit_of(extent)]++] = extent;
        extents.swap(sorted);
    }
}

// Splits [0, end) into pieces that hold `limit` records at most each, as far as counting them in 65,536 steps allows.
class Pieces {
  public:
    Pieces(std::uint64_t end, std::size_t limit) : step_(end / kSteps + 1), limit_(limit), counts_(kSteps) {}

    void Count(Extent const& extent) { ++counts_[static_cast<std::uint64_t>(extent.offset) / step_]; }
    // The end of the piece that begins at `begin`, which is 0 or the end of another.
    [[nodiscard]] std::uint64_t EndOf(std::uint64_t begin) const {
        std::uint64_t held = 0;
        std::uint64_t step = begin / step_;
        do
            held += counts_[step++];
        while (step < kSteps && held + counts_[step] <= limit_);
        return step * step_;
    }

  private:
    static constexpr std::uint64_t kSteps = 65536;
    std::uint64_t step_;
    std::size_t limit_;
    std::vector<std::uint32_t> counts_;
};

}  // namespace

Extents::Extents(FileView const& index, IndexShape const& shape, std::vector<bool>& answers, std::size_t limit)
    : index_(index), shape_(shape), answers_(answers), limit_(limit) {}

Extent Extents::ExtentOf(std::uint64_t number, RawSlot slot, bool alone) const {
    Extent extent;
    extent.tag = alone || shape_.has_numbers ? number : slot.Tag();
    extent.slot = static_cast<std::uint32_t>(number);
    if (slot.IsWithoutData()) return extent;
    extent.offset = slot.offset();
    extent.length = static_cast<std::uint32_t>(slot.length());
    return extent;
}

void Extents::Add(std::uint64_t number, RawSlot slot, bool alone) {
    shared_count_ += alone ? 0 : 1;
    if (!is_whole_) return;
    Extent const extent = ExtentOf(number, slot, alone);
    if (!alone) {
        shared_.push_back(extent);
    } else if (extent.length != 0) {
        if (alone_.empty()) alone_.reserve(std::min<std::uint64_t>(limit_, shape_.slots / 8 + 1));
        alone_.push_back(extent);
    }
    if (alone_.size() + shared_.size() < limit_) return;
    DropRepeatsIn(shared_);
    if (alone_.size() + shared_.size() < limit_ - limit_ / 4) return;
    is_whole_ = false;
    alone_ = {};
    shared_ = {};
}

void Extents::DropRepeatsIn(std::vector<Extent>& extents) {
    std::sort(extents.begin(), extents.end(),
              [](Extent const& a, Extent const& b) { return a.tag != b.tag ? a.tag < b.tag : a.slot < b.slot; });
    std::size_t kept = 0;
    for (Extent const& extent : extents) {
        if (kept > 0 && extents[kept - 1].tag == extent.tag) {
            answers_[extent.slot] = false;
            ++repeats_;
        } else {
            extents[kept++] = extent;
        }
    }
    extents.resize(kept);
}

template <class Take>
void Extents::ForEachAnswer(Take&& take) const {
    ForEachSlot(index_, 1, shape_.slots, [&](std::uint64_t number, RawSlot slot) {
        if (!answers_[number]) return;
        bool const alone = shape_.has_numbers || (number <= shape_.table && slot.next() == 0);
        take(ExtentOf(number, slot, alone), alone);
    });
}

std::uint64_t Extents::DropRepeats() {
    if (shape_.has_numbers) return 0;
    if (!is_whole_) {
        DropRepeatsPiecewise();
        return repeats_;
    }
    DropRepeatsIn(shared_);
    for (Extent const& extent : shared_) {
        if (extent.length != 0) alone_.push_back(extent);
    }
    shared_ = {};
    return repeats_;
}

void Extents::DropRepeatsPiecewise() {
    // Tags are spread evenly: pieces of half the limit will not exceed it, but for the repeats of few keys.
    auto const bits = static_cast<int>(std::bit_width(shared_count_ / (limit_ / 2)));
    std::vector<Extent> piece;
    piece.reserve(limit_);
    for (std::uint64_t part = 0; part < std::uint64_t{1} << bits; ++part) {
        ForEachAnswer([&](Extent const& extent, bool alone) {
            if (alone || (bits != 0 && extent.tag >> (64 - bits) != part)) return;
            piece.push_back(extent);
            if (piece.size() >= limit_) DropRepeatsIn(piece);
        });
        DropRepeatsIn(piece);
        piece.clear();
    }
}

void Extents::ForEachByOffset(std::uint64_t end, std::function<void(Extent const&)> const& visit) {
    if (!is_whole_) return VisitPiecewise(end, visit);
    SortByOffset(alone_);
    for (Extent const& extent : alone_) {
        if (static_cast<std::uint64_t>(extent.offset) + extent.length <= end) visit(extent);
    }
}

void Extents::VisitPiecewise(std::uint64_t end, std::function<void(Extent const&)> const& visit) {
    Pieces pieces(end, limit_);
    auto const is_inside = [end](Extent const& extent) {
        return extent.length != 0 && static_cast<std::uint64_t>(extent.offset) + extent.length <= end;
    };
    ForEachAnswer([&](Extent const& extent, bool) {
        if (is_inside(extent)) pieces.Count(extent);
    });
    std::vector<Extent> piece;
    piece.reserve(limit_);
    for (std::uint64_t begin = 0; begin < end;) {
        std::uint64_t const stop = pieces.EndOf(begin);
        ForEachAnswer([&](Extent const& extent, bool) {
            auto const at = static_cast<std::uint64_t>(extent.offset);
            if (is_inside(extent) && at >= begin && at < stop) piece.push_back(extent);
        });
        SortByOffset(piece);
        for (Extent const& extent : piece)
            visit(extent);
        piece.clear();
        begin = stop;
    }
}

}  // namespace torvane
