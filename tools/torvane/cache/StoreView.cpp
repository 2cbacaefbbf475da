#include "tools/torvane/cache/StoreView.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "host/policy/KwArchivePath.h"

namespace torvane {

namespace {

constexpr std::chrono::milliseconds kJustNow{500};
constexpr std::chrono::milliseconds kMoment{10};
// As long as "just now" is, and then some: clocks may stand in the future of a file.
constexpr int kMostWaits = 100;

// For somebody's writing to be over.
void WaitForWriter() {
    std::this_thread::sleep_for(kMoment);
}

bool IsJustNow(struct timespec const& time) {
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    auto const then = seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
    return std::chrono::abs(std::chrono::system_clock::now().time_since_epoch() - then) <= kJustNow;
}

// When names were last added to a directory or taken away; nothing when it is missing itself.
std::optional<struct timespec> TimeOfDirectory(std::string const& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    return status.st_mtim;
}

std::string DirectoryOf(std::string const& path) {
    return path.substr(0, path.rfind('/'));
}

// Whether somebody may be in the midst of making, writing or removing it.
bool IsRecent(FileView const& file) {
    if (file.state() == FileView::State::kOpen) return IsJustNow(file.status().st_mtim);
    if (file.state() != FileView::State::kMissing) return false;
    auto const time = TimeOfDirectory(DirectoryOf(file.path()));
    return !time || IsJustNow(*time);
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
    int changes = 0;
    for (int waits = 0;; ++waits) {
        FileView const file(path);
        look.damage = read();
        if (look.damage.empty()) return {};
        bool const changed = file.HasChanged();
        changes += changed ? 1 : 0;
        look.soundness = changed ? Soundness::kBusy : Soundness::kDamaged;
        // Somebody has removed all of it: there is nothing that could be damaged.
        if (IsGone(DirectoryOf(path))) return look.soundness = Soundness::kBusy, look;
        // Who writes all the time leaves no moment in which damage could be told.
        if (waits == kMostWaits && IsRecent(file)) look.soundness = Soundness::kBusy;
        if (changes == kLooks || (!changed && !IsRecent(file)) || waits == kMostWaits) return look;
        WaitForWriter();
    }
}

std::string DamageOf(IndexView const& index) {
    if (index.file().state() == FileView::State::kMissing) return "";
    if (index.file().state() != FileView::State::kOpen) return kForeignIndex;
    if (!index.IsHeadValid()) return kBadHead;
    return index.IsCut() ? kCutIndex : "";
}

bool IsUnfinished(StorePlace const& place) {
    return IsGone(place.directory + "/" + Varnok::kTemplateArchive);
}

bool MayBeHalfRemoved(StoreKind kind, FileView const& data) {
    return kind == StoreKind::kTask && data.state() == FileView::State::kMissing;
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

bool StoreView::IsLeftover() const {
    return place_.kind == StoreKind::kTemplate ? IsUnfinished(place_) : MayBeHalfRemoved(place_.kind, data_);
}

std::string StoreView::Damage() const {
    if (place_.kind == StoreKind::kTemplate && IsUnfinished(place_)) return "";
    switch (index_.file().state()) {
        case FileView::State::kOpen:
            return index_.IsHeadValid() ? "" : kBadHead;
        case FileView::State::kMissing:
            // Of a template's cache the definitions are the first to go; of other stores the index may be, and what is
            // left then is one that is half removed.
            if (place_.kind != StoreKind::kTemplate || data_.state() == FileView::State::kMissing) return "";
            return "index is missing";
        default:
            return kForeignIndex;
    }
}

IndexLook LookAtIndex(StoreView& store) {
    IndexLook index;
    static_cast<Look&>(index) = LookAtFile(store.place().IndexPath(), [&] {
        store.OpenAgain();
        std::string damage = store.Damage();
        index.is_readable = damage.empty();
        if (!index.is_readable || store.IsLeftover() || !store.index().IsCut()) return damage;
        return std::string(kCutIndex);
    });
    return index;
}

Standing StoreView::StandingOf(std::uint64_t number, Slot const& slot) const {
    std::string const key = IndexView::KeyOf(slot);
    if (place_.kind == StoreKind::kTask) return key == std::to_string(number) ? Standing::kAnswers : Standing::kCutOff;
    if (key.size() != DLPCache::kTextKeyLength) return Standing::kCutOff;
    auto const first = index_.FirstSlotOf(key);
    if (!first) return Standing::kCutOff;
    if (*first == number) return Standing::kAnswers;
    IndexView::Search const search = index_.SearchFor(key);
    switch (search.outcome) {
        case IndexView::Outcome::kFound:
            return search.number == number ? Standing::kAnswers : Standing::kRepeats;
        case IndexView::Outcome::kAbsent:
            break;
        default:
            return Standing::kCutOff;
    }
    // All that a kill leaves is a slot behind the table that leads nowhere, to be linked from a chain in use.
    bool const is_in_table =
        index_.head()->bucket_count > 0 && number <= static_cast<std::uint64_t>(index_.head()->bucket_count);
    return is_in_table || slot.next != 0 || !IndexView::IsUsed(search.slot) ? Standing::kCutOff : Standing::kUnlinked;
}

std::uint64_t StoreView::EmptyNumbers(std::uint64_t first, std::uint64_t end) const {
    return place_.kind == StoreKind::kTask && end > first ? end - first : 0;
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

// Somebody who keeps writing to a store that is damaged all over would have every record waited for.
void StoreView::Wait() {
    if (++waits_ <= kMostWaits) WaitForWriter();
}

StoreView::Look StoreView::LookAt(std::uint64_t number, Slot const& slot, Decoder const& decode) {
    Look look;
    look.slot = slot;
    int changes = 0;
    for (int looks = 0;; ++looks) {
        look.damage = Decode(look.slot, decode);
        look.soundness = Soundness::kSound;
        if (look.damage.empty()) return look;
        bool const changed = HasChanged();
        changes += changed ? 1 : 0;
        look.soundness = changed || IsLeftover() ? Soundness::kBusy : Soundness::kDamaged;
        if (looks == kMostWaits && WasWrittenJustNow()) look.soundness = Soundness::kBusy;
        if (changes == kLooks || (!changed && !WasWrittenJustNow()) || looks == kMostWaits) return look;
        Wait();
        OpenAgain();
        Slot again;
        if (!index_.Peek(number, again) || !IndexView::IsUsed(again)) {
            look.soundness = Soundness::kBusy;
            return look;
        }
        look.slot = again;
    }
}

}  // namespace torvane
