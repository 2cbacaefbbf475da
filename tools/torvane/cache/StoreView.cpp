#include "tools/torvane/cache/StoreView.h"

#include <chrono>
#include <ctime>
#include <thread>
#include <utility>

namespace torvane {

namespace {

constexpr std::time_t kJustNow = 1;  // seconds
constexpr std::chrono::milliseconds kMoment{10};

// For somebody's writing to be over.
void WaitForWriter() {
    std::this_thread::sleep_for(kMoment);
}

bool IsRecent(FileView const& file) {
    return file.state() == FileView::State::kOpen && std::time(nullptr) - file.status().st_mtim.tv_sec <= kJustNow;
}

}  // namespace

char const* NameOf(Soundness soundness) {
    switch (soundness) {
        case Soundness::kSound:
            return "sound";
        case Soundness::kDamaged:
            return "damaged";
        case Soundness::kBusy:
            break;
    }
    return "busy";
}

Look LookAtFile(std::string const& path, std::function<std::string()> const& read) {
    Look look;
    for (int looks = 1;; ++looks) {
        FileView const file(path);
        look.damage = read();
        if (look.damage.empty()) return {};
        bool const changed = file.HasChanged();
        look.soundness = changed ? Soundness::kBusy : Soundness::kDamaged;
        if (looks == kLooks || (!changed && !IsRecent(file))) return look;
        WaitForWriter();
    }
}

StoreView::StoreView(StorePlace place)
    : place_(std::move(place)), index_(place_.IndexPath()), data_(place_.DataPath()) {
    index_.file().RequireReadable();
    data_.RequireReadable();
}

void StoreView::OpenAgain() {
    index_ = IndexView(place_.IndexPath());
    data_ = FileView(place_.DataPath());
}

std::string StoreView::Damage() const {
    switch (index_.file().state()) {
        case FileView::State::kOpen:
            return index_.IsHeadValid() ? "" : "index head is not valid";
        case FileView::State::kMissing:
            return data_.state() == FileView::State::kMissing ? "" : "index is missing";
        default:
            return "what stands in the index's place is no file";
    }
}

bool StoreView::Answers(std::uint64_t number, Slot const& slot) const {
    std::string const key = IndexView::KeyOf(slot);
    if (place_.kind == StoreKind::kTask) return key == std::to_string(number);
    if (key.size() != DLPCache::kTextKeyLength) return false;
    auto const first = index_.FirstSlotOf(key);
    if (!first || *first == number) return first.has_value();
    IndexView::Search const search = index_.SearchFor(key);
    return search.outcome == IndexView::Outcome::kFound && search.number == number;
}

std::string StoreView::Decode(Slot const& slot, Decoder const& decode) {
    if (!HasRecord(slot)) return {};
    std::string wrong = ReadRecord(data_, slot, bytes_);
    return wrong.empty() ? decode(bytes_) : wrong;
}

// Two writings within a tick of the file system's clock leave the same times behind.
bool StoreView::WasWrittenJustNow() const {
    return IsRecent(index_.file()) || IsRecent(data_);
}

StoreView::Look StoreView::LookAt(std::uint64_t number, Slot const& slot, Decoder const& decode) {
    Look look;
    look.slot = slot;
    for (int looks = 1;; ++looks) {
        look.damage = Decode(look.slot, decode);
        if (look.damage.empty()) return look;
        bool const changed = HasChanged();
        look.soundness = changed ? Soundness::kBusy : Soundness::kDamaged;
        if (looks == kLooks || (!changed && !WasWrittenJustNow())) return look;
        WaitForWriter();
        OpenAgain();
        if (!index_.Peek(number, look.slot)) look.slot = slot;
    }
}

}  // namespace torvane
