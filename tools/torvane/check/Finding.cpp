#include "tools/torvane/check/Finding.h"

#include <utility>

namespace torvane {

char const* NameOf(Severity severity) {
    switch (severity) {
        case Severity::kDamage:
            return "damage";
        case Severity::kWaste:
            return "waste";
        case Severity::kUnreadable:
            return "unreadable";
        case Severity::kBusy:
            break;
    }
    return "busy";
}

FindingList FindingList::Another() const {
    FindingList list;
    list.is_unfinished_ = is_unfinished_;
    return list;
}

void FindingList::Add(Finding finding) {
    if (finding.severity == Severity::kDamage && is_unfinished_ != nullptr && is_unfinished_(finding)) {
        finding.severity = Severity::kWaste;
        finding.kind = "unfinished";
        finding.lost.clear();
    }
    ++counts_[static_cast<std::size_t>(finding.severity)];
    wasted_ += finding.wasted;
    losses_ += finding.severity == Severity::kWaste && !finding.lost.empty() && !finding.is_final ? 1U : 0U;
    Keep(std::move(finding));
}

void FindingList::Keep(Finding&& finding) {
    std::size_t& kept = kept_counts_[static_cast<std::size_t>(finding.severity)];
    if (kept < kKept) {
        ++kept;
        kept_.push_back(std::move(finding));
    } else {
        ++dropped_;
    }
}

void FindingList::Append(FindingList&& other) {
    for (std::size_t i = 0; i < counts_.size(); ++i)
        counts_[i] += other.counts_[i];
    wasted_ += other.wasted_;
    dropped_ += other.dropped_;
    losses_ += other.losses_;
    for (Finding& finding : other.kept_)
        Keep(std::move(finding));
}

void Reporter::Damage(char const* kind, Place place, std::string what, std::string lost) const {
    list_.Add({Severity::kDamage, kind, file_, place.slot, place.offset, std::move(what), std::move(lost), 0});
}

void Reporter::Waste(char const* kind, Place place, std::string what, std::uint64_t wasted, std::string lost) const {
    list_.Add({Severity::kWaste, kind, file_, place.slot, place.offset, std::move(what), std::move(lost), wasted});
}

void Reporter::Gap(char const* kind, Place place, std::string what, std::string lost) const {
    list_.Add({Severity::kWaste, kind, file_, place.slot, place.offset, std::move(what), std::move(lost), 0, true});
}

void Reporter::Unreadable(std::string what) const {
    list_.Add({Severity::kUnreadable, "unreadable", file_, std::nullopt, std::nullopt, std::move(what), "", 0});
}

}  // namespace torvane
