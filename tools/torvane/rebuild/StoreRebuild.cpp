#include "tools/torvane/rebuild/StoreRebuild.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include <algorithm>
#include <tuple>

#include "host/base/HFile.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/check/Extents.h"
#include "tools/torvane/check/OverlapCheck.h"
#include "tools/torvane/rebuild/BucketCount.h"
#include "tools/torvane/rebuild/Interruption.h"

namespace torvane {

namespace {

constexpr char kDoubtful[] =
    "the slot is not where its key is looked for, or the record shares bytes with another key's";

// Bytes read ahead of a record that is decoded: they are visited in the order of slots, which is not that of the file.
constexpr std::size_t kWindow = 4096;

}  // namespace

StoreRebuild::StoreRebuild(Purpose purpose, StorePlace const& source, std::string const& source_name,
                           StoreCheck const& check, std::string const& directory, Carried& carried)
    : purpose_(purpose),
      source_(source),
      source_name_(source_name),
      check_(check),
      directory_(directory),
      carried_(carried),
      data_(source.DataPath()),
      records_(source.kind, data_, kWindow),
      has_numbers_(source.kind == StoreKind::kTask),
      slots_(check.index().slots()),
      records_out_(directory + "/cache") {}

void StoreRebuild::Run() {
    if (check_.index().file().state() != FileView::State::kOpen) return SayOrphans();
    MakeStore();
    CarryAll();
    records_out_.Close();
}

void StoreRebuild::CarryAll() {
    if (has_numbers_) return CarryNumbers();
    CarryAnswers();
    if (purpose_ == Purpose::kRepair) CarryRest();
}

void StoreRebuild::SayOrphans() {
    bool const is_missing = check_.index().file().state() == FileView::State::kMissing;
    if (data_.size() == 0 && is_missing && source_.kind == StoreKind::kTemplate)
        return carried_.LeaveOut(
            {source_name_ + "/index", std::nullopt, "there is no index: every answer, unless none was made yet"});
    if (data_.size() == 0) return;
    carried_.LeaveOut({source_name_ + "/cache", std::nullopt, fmt::format("{} bytes without an index", data_.size())});
}

int StoreRebuild::BucketCount() const {
    if (has_numbers_) return check_.has_shape() ? static_cast<int>(check_.shape().table) : 0;
    return static_cast<int>(check_.has_shape() ? check_.shape().buckets : UsualBucketCount(source_.kind));
}

void StoreRebuild::MakeStore() {
    HString const index_path(directory_ + "/index");
    index_ = std::make_unique<DLPCache::Index>(index_path);
    errno = 0;
    if (index_->Init(BucketCount()) != DLPCache::kDone)
        throw Stop(ExitStatus::kIo, "cannot make " + directory_ + "/index" +
                                        (errno == 0 ? std::string() : std::string(": ") + std::strerror(errno)));
}

bool StoreRebuild::IsAnswer(std::uint64_t number) const {
    return check_.has_shape() && check_.answers()[number];
}

bool StoreRebuild::IsDoubtful(std::uint64_t number) const {
    return !check_.doubtful().empty() && check_.doubtful()[number];
}

void StoreRebuild::Require(int code) const {
    if (code < 0) throw Stop(ExitStatus::kIo, fmt::format("cannot write {}: code {}", directory_, code));
}

void StoreRebuild::LeaveOut(std::uint64_t number, std::string what) {
    carried_.LeaveOut({source_name_ + "/index", number, std::move(what)});
}

void StoreRebuild::CarryNumbers() {
    std::uint64_t const made = check_.has_shape() ? check_.shape().table : 0;
    ForEachSlot(check_.index().file(), 1, slots_, [&](std::uint64_t number, RawSlot slot) {
        if (number <= made && slot.IsZero()) return;
        std::string why = WhyNoNumber(number, slot);
        if (why.empty()) return Carry(number, slot);
        LeaveOut(number, std::move(why));
        Require(index_->Add(static_cast<int>(number), -1, 0));
    });
}

std::string StoreRebuild::WhyNoNumber(std::uint64_t number, RawSlot slot) {
    if (!slot.HoldsNumber(number)) return "the slot does not hold its number";
    if (purpose_ == Purpose::kCompact) return IsAnswer(number) ? "" : "the number is not answered";
    return WhyNot(number, slot);
}

void StoreRebuild::CarryAnswers() {
    if (!check_.has_shape()) return;
    if (purpose_ == Purpose::kRepair) taken_.resize(slots_ + 1);
    ForEachSlot(check_.index().file(), 1, slots_, [&](std::uint64_t number, RawSlot slot) {
        if (!IsAnswer(number)) return;
        std::string why = WhyNot(number, slot);
        if (!why.empty()) return LeaveOut(number, std::move(why));
        Carry(number, slot);
        if (purpose_ == Purpose::kRepair) taken_[number] = true;
    });
}

void StoreRebuild::CarryRest() {
    taken_.resize(slots_ + 1);
    if (!FindRest()) return;
    if (!check_.has_shape()) LeaveOutAmbiguous();
    LeaveOutOverlaps();
    ForEachSlot(check_.index().file(), 1, slots_, [&](std::uint64_t number, RawSlot slot) {
        // The first of several slots of a key comes first.
        if (taken_[number] && !IsAnswer(number) && !IsPresent(number, slot)) Carry(number, slot);
    });
}

bool StoreRebuild::FindRest() {
    bool is_any = false;
    // A table has empty slots; behind it there are none. Of several side by side the first is named.
    std::uint64_t const table = check_.has_shape() ? check_.shape().table : slots_;
    bool is_hole = false;
    ForEachSlot(check_.index().file(), 1, slots_, [&](std::uint64_t number, RawSlot slot) {
        Interruption::Check();
        bool const continues = is_hole;
        is_hole = number > table && slot.IsZero();
        if (is_hole && !continues) LeaveOut(number, "the slot is empty");
        if (IsAnswer(number) || slot.IsZero()) return;
        if (!slot.IsUsed()) return LeaveOut(number, "the slot has no key");
        if (!slot.HoldsTextKey()) return LeaveOut(number, "the key is not 32 hexadecimal digits");
        // What was another key's may hold by now a key that is elsewhere, too.
        if (IsDoubtful(number)) return LeaveOut(number, kDoubtful);
        if (IsPresent(number, slot)) return;
        std::string why = WhyNot(number, slot);
        if (!why.empty()) return LeaveOut(number, std::move(why));
        is_any = taken_[number] = true;
    });
    return is_any;
}

void StoreRebuild::LeaveOutAmbiguous() {
    struct Place {
        std::uint64_t tag;
        std::int64_t offset;
        std::uint64_t number;
    };
    std::vector<Place> places;
    ForEachSlot(check_.index().file(), 1, slots_, [&](std::uint64_t number, RawSlot slot) {
        if (taken_[number]) places.push_back({slot.Tag(), slot.offset(), number});
    });
    std::sort(places.begin(), places.end(),
              [](Place const& a, Place const& b) { return std::tie(a.tag, a.number) < std::tie(b.tag, b.number); });
    for (auto begin = places.begin(); begin != places.end();) {
        auto const end = std::find_if(begin, places.end(), [&](Place const& place) { return place.tag != begin->tag; });
        bool const is_one = std::all_of(begin, end, [&](Place const& place) { return place.offset == begin->offset; });
        for (; begin != end; ++begin) {
            if (is_one) continue;
            taken_[begin->number] = false;
            LeaveOut(begin->number, "the key has several records, and nothing tells which one is its own");
        }
    }
}

void StoreRebuild::LeaveOutOverlaps() {
    auto const leave_out = [&](std::uint64_t number) {
        if (IsAnswer(number) || !taken_[number]) return;
        taken_[number] = false;
        LeaveOut(number, "the record shares bytes with another key's");
    };
    // No table: every key counts for itself, wherever its slot lies.
    IndexShape shape;
    shape.kind = source_.kind;
    shape.slots = slots_;
    std::vector<bool> compared = taken_;
    Extents extents(check_.index().file(), shape, compared);
    ForEachSlot(check_.index().file(), 1, slots_, [&](std::uint64_t number, RawSlot slot) {
        if (taken_[number]) extents.Add(number, slot, false);
    });
    (void)extents.DropRepeats();
    OverlapCheck overlaps([&](Extent const& extent, Extent const& other) {
        leave_out(extent.slot);
        leave_out(other.slot);
    });
    extents.ForEachByOffset(data_.size(), [&](Extent const& extent) { overlaps.Visit(extent); });
}

bool StoreRebuild::IsPresent(std::uint64_t number, RawSlot slot) {
    long long offset = 0;
    int length = 0;
    int const found = index_->Find(slot.KeyText(), offset, length);
    if (found == DLPCache::kPositionUnreachable) {
        LeaveOut(number, "the key falls into bucket 0");
        return true;
    }
    Require(found);
    return found == DLPCache::kFound;
}

std::string StoreRebuild::WhyNot(std::uint64_t number, RawSlot slot) {
    if (purpose_ == Purpose::kCompact) return "";
    if (IsDoubtful(number)) return kDoubtful;
    if (slot.SaysNoData(source_.kind)) return "";
    if (!slot.IsPlacePossible(source_.kind)) return "the record's place is none";
    std::uint64_t const end = static_cast<std::uint64_t>(slot.offset()) + static_cast<std::uint64_t>(slot.length());
    if (end > data_.size()) return "the record lies behind the end of the data file";
    char const* const why =
        records_.WhyNotDecodable(static_cast<std::uint64_t>(slot.offset()), static_cast<std::uint32_t>(slot.length()));
    return why == nullptr ? "" : why;
}

void StoreRebuild::CarryEmpty(std::uint64_t number, RawSlot slot) {
    Require(has_numbers_ ? index_->Add(static_cast<int>(number), -1, 0) : index_->Add(slot.KeyText(), -1, 0));
    ++carried_.empty;
}

void StoreRebuild::Carry(std::uint64_t number, RawSlot slot) {
    Interruption::Check();
    if (slot.IsWithoutData()) return CarryEmpty(number, slot);
    auto const length = static_cast<std::uint64_t>(slot.length());
    long long const place = records_out_.Append(data_, static_cast<std::uint64_t>(slot.offset()), length);
    Require(has_numbers_ ? index_->Add(static_cast<int>(number), place, slot.length())
                         : index_->Add(slot.KeyText(), place, slot.length()));
    ++carried_.records;
    carried_.record_bytes += length;
}

}  // namespace torvane
