#include "tools/torvane/check/StoreCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "tools/torvane/cache/StoreView.h"
#include "tools/torvane/check/OverlapCheck.h"
#include "tools/torvane/check/RecordCheck.h"
#include "tools/torvane/check/SlotCheck.h"

namespace torvane {

namespace {

IndexView Watched(StorePlace const& place, ChangeWatch& watch) {
    watch.Add(place.IndexPath());
    watch.Add(place.DataPath());
    return IndexView(place.IndexPath());
}

std::optional<IndexShape> ShapeOf(IndexView const& index, StoreKind kind, std::uint32_t buckets) {
    if (buckets == 0) return std::nullopt;
    IndexShape shape;
    shape.kind = kind;
    shape.buckets = buckets;
    shape.slots = index.slots();
    shape.table = std::min<std::uint64_t>(buckets, shape.slots);
    return shape;
}

// Decodes records in file order; but no more than several times what the file has, since records that share bytes could
// make that any number.
class BoundedCheck {
  public:
    BoundedCheck(StoreKind kind, FileView const& data, std::set<std::u16string> const* templates)
        : records_(kind, data), left_(kMostTimes * data.size()) {
        records_.HoldAgainst(templates);
    }

    // Whether it can be asked about this one.
    [[nodiscard]] bool Looks(Extent const& extent) {
        if (IsLast(extent) || extent.length <= left_) return true;
        ++skipped_;
        return false;
    }
    [[nodiscard]] char const* WhyNotDecodable(Extent const& extent) {
        if (IsLast(extent)) return why_;
        left_ -= extent.length;
        last_ = extent;
        return why_ = records_.WhyNotDecodable(static_cast<std::uint64_t>(extent.offset), extent.length);
    }
    // Of the one that was asked about last.
    [[nodiscard]] bool NamesOther() const { return records_.NamesOther(); }
    [[nodiscard]] std::uint64_t skipped() const { return skipped_; }

  private:
    static constexpr std::uint64_t kMostTimes = 4;

    [[nodiscard]] bool IsLast(Extent const& extent) const {
        return extent.offset == last_.offset && extent.length == last_.length;
    }

    RecordCheck records_;
    std::uint64_t left_;
    Extent last_;  // none: it has no length
    char const* why_ = nullptr;
    std::uint64_t skipped_ = 0;
};

}  // namespace

StoreCheck::StoreCheck(StorePlace const& place, std::string directory, Depth depth, FindingList& list,
                       ChangeWatch& watch)
    : place_(place),
      depth_(depth),
      index_report_(list, directory + "/index"),
      data_report_(list, directory + "/cache"),
      index_(Watched(place, watch)) {}

StoreCheck::~StoreCheck() = default;

bool StoreCheck::IsIndexThere() const {
    switch (index_.file().state()) {
        case FileView::State::kOpen:
            return true;
        case FileView::State::kUnreadable:
            index_report_.Unreadable(std::strerror(index_.file().error()));
            return false;
        case FileView::State::kForeign:
        case FileView::State::kMissing:
            break;
    }
    return false;
}

void StoreCheck::Run() {
    if (!IsIndexThere()) return CheckOrphan();
    shape_ = believed_ ? ShapeOf(index_, place_.kind, *believed_) : CheckIndexHead(index_, place_.kind, index_report_);
    if (!shape_) return;
    SlotCheck slots(index_, *shape_, place_.DataPath(), depth_ == Depth::kFull, index_report_);
    slots.Run();
    std::uint64_t const repeats = slots.extents().DropRepeats();
    if (repeats != 0) {
        index_report_.Waste("repeated-slots", {},
                            fmt::format("{} slots repeat a key that an earlier one holds", repeats),
                            repeats * DLPCache::IndexKey::kSize);
    }
    doubtful_ = std::move(slots.misplaced());
    CheckRecords(slots);
    answers_ = std::move(slots.answers());
}

void StoreCheck::CheckOrphan() {
    FileView const data(place_.DataPath());
    if (index_.file().state() != FileView::State::kMissing) return;
    is_empty_ =
        data.state() == FileView::State::kMissing || (data.state() == FileView::State::kOpen && data.size() == 0);
    if (data.state() == FileView::State::kUnreadable) return data_report_.Unreadable(std::strerror(data.error()));
    if (data.size() == 0) return;
    std::string const what = fmt::format("{} bytes of records without an index", data.size());
    // The index of found-times is the first to be deleted with its directory, and what belongs to a task goes in no
    // order. Of a template's cache the definitions go first.
    if (place_.kind != StoreKind::kTemplate)
        return data_report_.Waste("unfinished", {}, what, data.size(), "every entry, unless they were being removed");
    data_report_.Damage("index-missing", {}, what, "every entry of this store");
}

void StoreCheck::CheckRecords(SlotCheck& slots) {
    // Opened after the index was read: a record is in its file before the index tells of it.
    FileView const data(place_.DataPath());
    if (data.state() == FileView::State::kUnreadable) return data_report_.Unreadable(std::strerror(data.error()));
    if (slots.without_file() != 0) TellMissingData(data, slots.without_file());
    OverlapCheck all([&](Extent const& extent, Extent const& other) {
        data_report_.Damage("record-overlap", {extent.slot, extent.offset},
                            fmt::format("the record shares bytes with that of slot {}, another key's", other.slot),
                            "one of the two entries");
    });
    OverlapCheck decodable([this](Extent const& extent, Extent const& other) {
        Doubt(extent.slot);
        Doubt(other.slot);
    });
    BoundedCheck records(place_.kind, data, templates_);
    slots.extents().ForEachByOffset(data.size(), [&](Extent const& extent) {
        all.Visit(extent);
        if (depth_ == Depth::kQuick) return;
        if (!records.Looks(extent)) return Doubt(extent.slot);
        char const* const why = records.WhyNotDecodable(extent);
        of_other_templates_ += why == nullptr && records.NamesOther() ? 1U : 0U;
        if (why == nullptr) return decodable.Visit(extent);
        data_report_.Damage("record-damaged", {extent.slot, extent.offset}, why, "one entry");
    });
    if (records.skipped() != 0) {
        data_report_.Damage("record-overlap", {},
                            fmt::format("so many bytes are shared that {} records were not decoded", records.skipped()),
                            fmt::format("up to {} entries", records.skipped()));
    }
    if (data.size() <= all.covered()) return;
    std::uint64_t const dead = data.size() - all.covered();
    data_report_.Waste("dead-bytes", {}, fmt::format("{} bytes belong to no record that is answered", dead), dead);
}

void StoreCheck::TellMissingData(FileView const& data, std::uint64_t entries) {
    if (MayBeHalfRemoved(place_.kind, data)) {
        return data_report_.Waste("unfinished", {},
                                  fmt::format("a half removed task: the data file of its {} findings is gone", entries),
                                  0, fmt::format("{} findings, unless the task was being removed", entries));
    }
    data_report_.Damage("data-missing", {}, "there is no data file",
                        fmt::format("{} {}", entries, entries == 1 ? "entry" : "entries"));
}

void StoreCheck::Doubt(std::uint32_t slot) {
    doubtful_.resize(shape_->slots + 1);
    doubtful_[slot] = true;
}

}  // namespace torvane
