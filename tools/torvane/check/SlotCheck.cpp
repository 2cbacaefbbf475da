#include "tools/torvane/check/SlotCheck.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <optional>
#include <utility>

namespace torvane {

namespace {

constexpr std::size_t kMostBroken = 10000;

// Nothing when there is no such file.
std::optional<std::uint64_t> SizeOf(std::string const& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    return static_cast<std::uint64_t>(status.st_size);
}

}  // namespace

SlotCheck::SlotCheck(IndexView const& index, IndexShape const& shape, std::string data_path, bool hash_all,
                     Reporter const& report)
    : index_(index),
      shape_(shape),
      data_path_(std::move(data_path)),
      hash_all_(hash_all),
      report_(report),
      chains_(shape.has_numbers ? shape.slots : shape.table, shape.slots),
      extents_(index.file(), shape, chains_.marks()) {}

Reporter::Place SlotCheck::At(std::uint64_t number) {
    return {number, static_cast<std::int64_t>(IndexView::OffsetOf(number))};
}

void SlotCheck::Run() {
    data_size_ = SizeOf(data_path_).value_or(0);
    if (shape_.has_numbers) {
        ForEachSlot(index_.file(), 1, shape_.slots, [this](std::uint64_t n, RawSlot slot) { VisitNumber(n, slot); });
    } else {
        ForEachSlot(index_.file(), 1, shape_.slots, [this](std::uint64_t n, RawSlot slot) {
            // Most of a table is empty: this is the way that has to be short.
            if (n > shape_.table || !slot.IsZero()) VisitText(n, slot);
        });
    }
    TellHole();
    TellEmpty();
}

void SlotCheck::VisitNumber(std::uint64_t number, RawSlot slot) {
    if (!slot.IsUsed()) {
        // Every number from 1 to the last has been written.
        if (slot.IsZero()) {
            VisitHole(number);
        } else {
            report_.Damage("slot-unused", At(number), "the slot holds no number", fmt::format("entry {}", number));
        }
        return;
    }
    if (!slot.HoldsNumber(number)) {
        report_.Damage("slot-number", At(number), fmt::format("the slot does not hold the number {}", number),
                       fmt::format("entry {}", number));
        return;
    }
    if (slot.next() != 0) report_.Damage("slot-number-link", At(number), "the slot of a number has a link", "nothing");
    if (!IsRecordInside(number, slot)) return;
    answers()[number] = true;
    extents_.Add(number, slot, true);
}

void SlotCheck::VisitText(std::uint64_t number, RawSlot slot) {
    if (!slot.IsUsed()) return VisitUnused(number, slot);
    bool const is_key = slot.HoldsTextKey();
    bool const is_alone = number <= shape_.table && slot.next() == 0;
    std::uint32_t own = 0;
    if (is_key && shape_.buckets != 0)
        own = is_alone && !hash_all_ ? static_cast<std::uint32_t>(number) : slot.BucketOf(shape_.buckets);
    std::uint32_t const chain = ChainOf(number, own);
    answers()[number] = false;  // what it said until now was that a chain leads here
    if (!is_key) report_.Damage("slot-key", At(number), "the key is not 32 hexadecimal digits", "one entry");
    bool const is_in_place = is_key && IsInPlace(number, slot, own, chain);
    FollowLink(number, slot, chain);
    if (!IsRecordInside(number, slot) || !is_in_place) return;
    answers()[number] = true;
    extents_.Add(number, slot, is_alone);
}

void SlotCheck::VisitUnused(std::uint64_t number, RawSlot slot) {
    bool const is_linked = answers()[number];
    (void)ChainOf(number, 0);
    answers()[number] = false;
    if (number > shape_.table && !is_linked && slot.IsZero()) return VisitHole(number);
    report_.Damage("slot-unused", At(number),
                   slot.IsZero() ? "a chain leads to an unused slot" : "the slot has no key but is not empty",
                   "the entry that lay here and those behind it in its chain");
    if (number < shape_.buckets) Break(static_cast<std::uint32_t>(number));
}

// The library appends no slot without a key.
void SlotCheck::VisitHole(std::uint64_t number) {
    if (hole_length_ != 0 && hole_ + hole_length_ == number) {
        ++hole_length_;
        return;
    }
    TellHole();
    hole_ = number;
    hole_length_ = 1;
}

void SlotCheck::TellHole() {
    if (hole_length_ == 0) return;
    bool const is_one = hole_length_ == 1;
    char const* const where = shape_.has_numbers ? "" : ", behind the table,";
    std::string what = is_one ? fmt::format("the slot{} is empty", where)
                              : fmt::format("{} slots from this on{} are empty", hole_length_, where);
    std::string lost = "the entries that lay here, if any did";
    if (shape_.has_numbers)
        lost =
            is_one ? fmt::format("entry {}", hole_) : fmt::format("entries {} to {}", hole_, hole_ + hole_length_ - 1);
    report_.Damage("slot-unused", At(hole_), std::move(what), std::move(lost));
    hole_length_ = 0;
}

// The library writes none; a repair leaves them, so that the numbers behind them stay.
void SlotCheck::TellEmpty() {
    if (empty_ == 0) return;
    report_.Gap("number-empty", At(first_empty_),
                empty_ == 1 ? std::string("the number has no finding")
                            : fmt::format("{} numbers, of which this is the first, have no finding", empty_),
                empty_ == 1 ? "one finding, which a repair has left out if there was one"
                            : fmt::format("{} findings, which a repair has left out if there was one", empty_));
}

std::uint32_t SlotCheck::ChainOf(std::uint64_t number, std::uint32_t own) {
    // The last slot of the table would be that of a bucket that does not exist.
    if (number <= shape_.table) return number < shape_.buckets ? static_cast<std::uint32_t>(number) : 0;
    return chains_.Arrive(number).value_or(own);
}

bool SlotCheck::IsInPlace(std::uint64_t number, RawSlot slot, std::uint32_t own, std::uint32_t chain) {
    if (chain == 0 && number > shape_.table) {
        SayUnreachable(number, slot, own);
        return false;
    }
    if (own == chain && own != 0) return true;
    misplaced_.resize(shape_.slots + 1);
    misplaced_[number] = true;
    report_.Damage("slot-bucket", At(number), fmt::format("the key belongs to bucket {}, not to bucket {}", own, chain),
                   "one entry: the key is looked for elsewhere");
    return false;
}

// All that a kill leaves is a slot that was appended and not linked yet, to the chain of a bucket in use.
std::string SlotCheck::WhyCutOff(RawSlot slot, std::uint32_t own) const {
    if (own == 0) return "no chain leads to the slot, and none can: its key falls into bucket 0";
    Slot first;
    if (own <= shape_.table && (!index_.Peek(own, first) || !IndexView::IsUsed(first)))
        return fmt::format("no chain leads to the slot: the first one of bucket {} is empty", own);
    if (slot.next() != 0) return fmt::format("no chain leads to the slot, but on from it: bucket {} has lost it", own);
    if (broken_.contains(own)) return fmt::format("the chain of bucket {} breaks off before it", own);
    return "";
}

void SlotCheck::SayUnreachable(std::uint64_t number, RawSlot slot, std::uint32_t own) {
    std::string why = WhyCutOff(slot, own);
    if (why.empty())
        return report_.Waste("unreachable-slot", At(number), "no chain leads to the slot", DLPCache::IndexKey::kSize);
    if (own != 0) Break(own);
    report_.Damage("slot-cut-off", At(number), std::move(why),
                   own != 0 ? "one entry, which repair brings back" : "one entry");
}

void SlotCheck::Break(std::uint32_t bucket) {
    if (broken_.size() < kMostBroken) broken_.insert(bucket);
}

void SlotCheck::Broken(char const* kind, std::uint64_t number, std::uint32_t chain, std::string what) {
    Break(chain);
    report_.Damage(kind, At(number), std::move(what), "the entries behind it in its chain");
}

void SlotCheck::FollowLink(std::uint64_t number, RawSlot slot, std::uint32_t chain) {
    std::int64_t const next = slot.next();
    if (next == 0) return;
    auto const target = index_.NumberAt(next);
    if (next < 0 || static_cast<std::uint64_t>(next) >= IndexView::OffsetOf(shape_.slots + 1)) {
        // To a slot that was appended since.
        if (target && IndexView::OffsetOf(*target + 1) <= index_.file().SizeNow()) return;
        return Broken("link-outside", number, chain, fmt::format("the link leads out of the file, to {}", next));
    }
    if (!target) return Broken("link-odd", number, chain, fmt::format("the link leads between slots, to {}", next));
    // Of a slot that no chain leads to, nothing is reached.
    if (chain == 0) return;
    switch (chains_.Take(number, *target, chain)) {
        case Chains::Link::kTaken:
            return;
        case Chains::Link::kBackward:
            return Broken("link-back", number, chain, fmt::format("the link leads back, to slot {}", *target));
        case Chains::Link::kShared:
            return Broken("link-shared", number, chain,
                          fmt::format("the link leads to slot {}, as another one does", *target));
    }
}

bool SlotCheck::IsRecordInside(std::uint64_t number, RawSlot slot) {
    if (slot.SaysNoData(shape_.kind)) {
        if (shape_.has_numbers && ++empty_ == 1) first_empty_ = number;
        return true;
    }
    if (!slot.IsPlacePossible(shape_.kind)) {
        report_.Damage("record-place", At(number),
                       fmt::format("{} bytes at {} are no record's place", slot.length(), slot.offset()), "one entry");
        return false;
    }
    std::uint64_t const end = static_cast<std::uint64_t>(slot.offset()) + static_cast<std::uint64_t>(slot.length());
    if (end <= data_size_) return true;
    std::optional<std::uint64_t> const size = SizeOf(data_path_);  // it may have grown since
    data_size_ = size.value_or(0);
    if (end <= data_size_) return true;
    if (!size) return ++without_file_, false;
    report_.Damage("record-outside", At(number),
                   fmt::format("the record ends at {}, behind the data file's {} bytes", end, data_size_), "one entry");
    return false;
}

}  // namespace torvane
