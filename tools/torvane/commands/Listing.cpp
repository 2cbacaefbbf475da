#include "tools/torvane/commands/Listing.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "tools/torvane/output/Escape.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

namespace {

bool IsAmong(Json const& list, std::string const& text) {
    return std::find(list.begin(), list.end(), Json(text)) != list.end();
}

}  // namespace

void Warn(std::string const& text) {
    Progress::Hide();
    std::fprintf(stderr, "torvane: %s\n", Printable(text).c_str());
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
    if (damaged_ || (filtered && !named_)) return ExitStatus::kNo;
    return busy_ && !sound_ ? ExitStatus::kBusy : ExitStatus::kYes;
}

bool Listing::IsWanted(StorePlace const& place) {
    std::string const* wanted = nullptr;
    switch (place.kind) {
        case StoreKind::kTemplate:
            wanted = &filter_.template_id;
            break;
        case StoreKind::kTask:
            wanted = &filter_.task_id;
            break;
        case StoreKind::kCounter:
            wanted = &filter_.policy_id;
            break;
    }
    if (!wanted->empty() && *wanted != place.id) return false;
    named_ = true;
    return true;
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
    if (!IsWanted(row)) return true;
    sound_ = sound_ || row.soundness == Soundness::kSound;
    damaged_ = damaged_ || row.soundness == Soundness::kDamaged;
    busy_ = busy_ || row.soundness == Soundness::kBusy;
    progress_.At(++given_, 0, row.json["kind"].get_ref<std::string const&>());
    return take(row.json);
}

bool Listing::Templates(Take const& take) {
    Snapshot const current(root_.ConfigPath());
    for (StorePlace const& place : root_.Stores(StoreKind::kTemplate)) {
        if (IsWanted(place) && !Give(TemplateRow(place, current), take)) return false;
    }
    return true;
}

bool Listing::Tasks(Take const& take) {
    for (StorePlace const& place : root_.Stores(StoreKind::kTask)) {
        if (IsWanted(place) && !Give(TaskRow(place), take)) return false;
    }
    return true;
}

bool Listing::Texts(Take const& take) {
    bool goes_on = true;
    for (StorePlace const& place : root_.Stores(StoreKind::kTask)) {
        if (!IsWanted(place)) continue;
        ForEachName(place.directory + "/text", [&](std::string const& file) {
            std::string name;
            if (IsArchive(file, name)) goes_on = Give(TextRow(place, name, detail_), take);
            return goes_on;
        });
        if (!goes_on) break;
    }
    return goes_on;
}

bool Listing::Entries(StoreKind kind, Take const& take) {
    for (StorePlace const& place : root_.Stores(kind)) {
        if (IsWanted(place) && !EntriesOf(place, take)) return false;
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
    // What is being made anew is looked at again.
    Look const look = LookAtFile(place.IndexPath(), [&] {
        store.OpenAgain();
        return store.Damage();
    });
    if (!look.damage.empty()) return Complain(place, look), true;

    Slot slot;
    auto number = store.index().NextUsed(1, slot);
    for (; number; number = store.index().NextUsed(*number + 1, slot)) {
        // A text key's further slots are none of its entries; neither is one that no chain leads to.
        if (place.kind != StoreKind::kTask && !store.Answers(*number, slot)) continue;
        if (filter_.matched && *filter_.matched != HasRecord(slot)) continue;
        Row const row = place.kind == StoreKind::kTemplate ? AnswerRow(store, *number, slot, detail_)
                        : place.kind == StoreKind::kTask   ? FindingRow(store, *number, slot, detail_)
                                                           : CounterRow(store, *number, slot, detail_);
        if (!Give(row, take)) return false;
    }
    return true;
}

}  // namespace torvane
