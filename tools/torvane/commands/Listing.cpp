#include "tools/torvane/commands/Listing.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>

#include "tools/torvane/commands/EntryRows.h"
#include "tools/torvane/output/Escape.h"
#include "tools/torvane/output/Progress.h"
#include "tools/torvane/output/Warn.h"

namespace torvane {

namespace {

bool IsAmong(Json const& list, std::string const& text) {
    return std::find(list.begin(), list.end(), Json(text)) != list.end();
}

}  // namespace

void WarnOfLeftover(StoreView const& store) {
    Slot slot;
    if (store.place().kind != StoreKind::kTask || !store.index().NextUsed(1, slot)) return;
    Warn(store.place().Name() + ": half removed, the data file of its findings is gone");
}

Listing::Listing(CacheRoot const& root, ListFilter filter, Settings const& settings)
    : root_(root),
      filter_(std::move(filter)),
      quiet_(settings.quiet),
      progress_(settings.progress && ::isatty(STDOUT_FILENO) != 1, "Listing") {
    detail_.show_text = settings.show_text;
}

bool Listing::ForEach(Listed listed, Take const& take) {
    switch (listed) {
        case Listed::kTemplates:
            return Templates(take);
        case Listed::kAnswers:
            return Entries(StoreKind::kTemplate, take);
        case Listed::kTasks:
            return Tasks(take);
        case Listed::kFindings:
            return Entries(StoreKind::kTask, take);
        case Listed::kCounters:
            return Entries(StoreKind::kCounter, take);
        case Listed::kTexts:
            break;
    }
    return Texts(take);
}

ExitStatus Listing::Status() const {
    bool const filtered = !filter_.template_id.empty() || !filter_.task_id.empty() || !filter_.policy_id.empty();
    if (unread_) return ExitStatus::kIo;
    if (damaged_ || (filtered && !named_)) return ExitStatus::kNo;
    return busy_ && !sound_ ? ExitStatus::kBusy : ExitStatus::kYes;
}

void Listing::Find(Listed listed) {
    bool const by_template = listed == Listed::kTemplates || listed == Listed::kAnswers;
    (void)Wanted(by_template                   ? StoreKind::kTemplate
                 : listed == Listed::kCounters ? StoreKind::kCounter
                                               : StoreKind::kTask);
}

void Listing::TellUnread(Stop const& stop) {
    if (stop.status() != ExitStatus::kIo) throw stop;
    unread_ = true;
    Warn(stop.what());
}

void Listing::TellForeign(std::string const& path) {
    if (!quiet_) Warn(path + " is no directory");
}

bool Listing::GoOn(std::function<bool()> const& list) {
    try {
        return list();
    } catch (Stop const& stop) {
        if (giving_) throw;
        TellUnread(stop);
        return true;
    }
}

std::vector<StorePlace> Listing::Wanted(StoreKind kind) {
    std::vector<StorePlace> places;
    (void)GoOn([&] {
        CacheRoot::Wanted wanted;
        wanted.unreadable = [this](Stop const& stop) { TellUnread(stop); };
        wanted.foreign = [this](std::string const& path) { TellForeign(path); };
        wanted.id = IdOf(kind);
        places = root_.Stores(kind, wanted);
        return true;
    });
    named_ = named_ || !places.empty();
    return places;
}

std::string const& Listing::IdOf(StoreKind kind) const {
    switch (kind) {
        case StoreKind::kTemplate:
            return filter_.template_id;
        case StoreKind::kTask:
            return filter_.task_id;
        case StoreKind::kCounter:
            break;
    }
    return filter_.policy_id;
}

// What the place alone does not tell.
bool Listing::IsWanted(Row const& row) const {
    Json const& json = row.json;
    std::string const& kind = json["kind"].get_ref<std::string const&>();
    if (filter_.matched && json["matched"] != *filter_.matched) return false;
    if (kind == "task") return filter_.policy_id.empty() || json["policy"] == filter_.policy_id;
    if (filter_.template_id.empty()) return true;
    if (kind == "finding") return IsAmong(json["templates"], filter_.template_id);
    return kind != "text" || json["text_template"] == filter_.template_id;
}

bool Listing::Give(Row const& row, Take const& take) {
    if (row.gone || !IsWanted(row)) return true;
    sound_ = sound_ || row.soundness == Soundness::kSound;
    damaged_ = damaged_ || row.soundness == Soundness::kDamaged;
    busy_ = busy_ || row.soundness == Soundness::kBusy;
    ++given_;
    giving_ = true;
    bool const goes_on = take(row.json);
    giving_ = false;
    return goes_on;
}

bool Listing::Templates(Take const& take) {
    std::unique_ptr<Snapshot> current;
    (void)GoOn([&] {
        current = std::make_unique<Snapshot>(root_.ConfigPath());
        return true;
    });
    if (current != nullptr && current->damaged()) {
        damaged_ = true;
        if (!quiet_) Warn("the agent's definitions are damaged");
    }
    for (StorePlace const& place : Wanted(StoreKind::kTemplate)) {
        progress_.AtBlock(given_, 0, place.Name());
        if (!GoOn([&] { return Give(TemplateRow(place, current.get()), take); })) return false;
    }
    return true;
}

bool Listing::Tasks(Take const& take) {
    for (StorePlace const& place : Wanted(StoreKind::kTask)) {
        progress_.AtBlock(given_, 0, place.Name());
        if (!GoOn([&] { return Give(TaskRow(place), take); })) return false;
    }
    return true;
}

bool Listing::Texts(Take const& take) {
    for (StorePlace const& place : Wanted(StoreKind::kTask)) {
        if (!GoOn([&] { return TextsOf(place, take); })) return false;
    }
    return true;
}

bool Listing::TextsOf(StorePlace const& place, Take const& take) {
    bool goes_on = true;
    std::string const directory = place.directory + "/text";
    if (IsForeign(directory)) return TellForeign(directory), true;
    ForEachName(directory, [&](std::string const& file) {
        std::string name;
        progress_.AtBlock(given_, 0, place.Name());
        if (IsArchive(file, name)) goes_on = GoOn([&] { return Give(TextRow(place, name, detail_), take); });
        return goes_on;
    });
    return goes_on;
}

bool Listing::Entries(StoreKind kind, Take const& take) {
    for (StorePlace const& place : Wanted(kind)) {
        progress_.AtBlock(given_, 0, place.Name());
        if (!GoOn([&] { return EntriesOf(place, take); })) return false;
    }
    return true;
}

void Listing::Complain(StorePlace const& place, Look const& look) {
    bool const is_busy = look.soundness == Soundness::kBusy;
    (is_busy ? busy_ : damaged_) = true;
    if (!quiet_) Warn(place.Name() + ": " + (is_busy ? "busy" : look.damage));
}

bool Listing::EntriesOf(StorePlace const& place, Take const& take) {
    StoreView store(place);
    IndexLook const look = LookAtIndex(store);
    if (!look.damage.empty() && !IsGone(place.directory)) Complain(place, look);
    if (!look.is_readable) return true;
    if (store.IsLeftover()) {
        if (!quiet_) WarnOfLeftover(store);
        return true;
    }
    if (place.kind == StoreKind::kCounter) detail_.marker = LookAtMarker(place);
    LostEntries lost(store);
    bool const goes_on = EntriesOf(store, lost, take);
    if (lost.count() != 0) Complain(place, lost.look());
    return goes_on;
}

bool Listing::EntriesOf(StoreView& store, LostEntries& lost, Take const& take) {
    StorePlace const& place = store.place();
    std::string const name = place.Name();
    Slot slot;
    std::uint64_t last = 0;
    for (auto number = store.index().NextUsed(1, slot); number; number = store.index().NextUsed(last + 1, slot)) {
        progress_.At(given_, 0, name);
        if (lost.TakeGap(last + 1, *number)) number = store.index().NextUsed(last + 1, slot);
        if (!number) return true;
        last = *number;
        // A text key's further slots are none of its entries; neither is one that no chain leads to.
        if (place.kind != StoreKind::kTask && !lost.IsAnswered(last, slot)) continue;
        if (filter_.matched && *filter_.matched != HasRecord(slot)) continue;
        Row const row = place.kind == StoreKind::kTemplate ? AnswerRow(store, last, slot, detail_)
                        : place.kind == StoreKind::kTask   ? FindingRow(store, last, slot, detail_)
                                                           : CounterRow(store, last, slot, detail_);
        if (!Give(row, take)) return false;
    }
    (void)lost.TakeGap(last + 1, store.index().slots() + 1);
    return true;
}

}  // namespace torvane
