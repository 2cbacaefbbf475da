#include "tools/torvane/cache/LostEntries.h"

#include <algorithm>
#include <string>

namespace torvane {

namespace {

// At what was found and was not so any more; each may take a second.
constexpr int kMostLooks = 10;

std::string Entries(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " entry" : " entries");
}

}  // namespace

bool LostEntries::MayLook() {
    if (soundness_ != Soundness::kSound) return false;
    if (++looks_ <= kMostLooks) return true;
    soundness_ = Soundness::kBusy;
    return false;
}

bool LostEntries::IsAnswered(std::uint64_t number, Slot& slot) {
    Standing standing = store_.StandingOf(number, slot);
    if (standing == Standing::kCutOff && MayLook()) {
        Look const look = LookAtFile(store_.place().IndexPath(), [&] {
            store_.OpenAgain();
            if (!store_.index().Peek(number, slot) || !IndexView::IsUsed(slot)) {
                standing = Standing::kUnlinked;
            } else {
                standing = store_.StandingOf(number, slot);
            }
            return standing == Standing::kCutOff ? "cut off" : "";
        });
        soundness_ = look.soundness;
    }
    if (standing == Standing::kCutOff) ++cut_off_;
    return standing == Standing::kAnswers;
}

bool LostEntries::TakeGap(std::uint64_t first, std::uint64_t end) {
    std::uint64_t const before = store_.EmptyNumbers(first, end);
    std::uint64_t empty = before;
    if (empty != 0 && MayLook()) {
        Look const look = LookAtFile(store_.place().IndexPath(), [&] {
            store_.OpenAgain();
            Slot slot;
            auto const used = store_.index().NextUsed(first, slot);
            empty = store_.EmptyNumbers(first, std::min(end, used.value_or(end)));
            return empty != 0 ? "empty" : "";
        });
        soundness_ = look.soundness;
    }
    empty_ += empty;
    return empty != before;
}

Look LostEntries::look() const {
    Look look;
    look.soundness = soundness_;
    if (cut_off_ != 0) look.damage = "a chain is damaged, " + Entries(cut_off_) + " cannot be reached";
    if (empty_ != 0) look.damage = Entries(empty_) + " cannot be read, the slots are empty";
    return look;
}

}  // namespace torvane
