#include "tools/torvane/commands/FindingRows.h"

#include <fmt/format.h>

namespace torvane {

namespace {

constexpr Severity kAll[] = {Severity::kDamage, Severity::kWaste, Severity::kUnreadable, Severity::kBusy};

template <class Integer>
Json OrNull(std::optional<Integer> const& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json RowOf(Finding const& finding) {
    return {{"severity", NameOf(finding.severity)},
            {"kind", finding.kind},
            {"file", finding.file},
            {"slot", OrNull(finding.slot)},
            {"offset", OrNull(finding.offset)},
            {"what", finding.what},
            {"lost", finding.lost},
            {"wasted_bytes", finding.wasted}};
}

}  // namespace

std::string Counted(std::uint64_t count, std::string const& thing) {
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

std::vector<Column> FindingRows::Columns() {
    return {{"severity", "SEVERITY"},   {"kind", "KIND"},          {"file", "FILE"},        {"slot", "SLOT", true},
            {"offset", "OFFSET", true}, {"what", "WHAT IS WRONG"}, {"lost", "WHAT IS LOST"}};
}

void FindingRows::Show(FindingList const& list) {
    for (Finding const& finding : list.kept())
        out_.Row(RowOf(finding));
    if (list.dropped() != 0) out_.Line(fmt::format("({} more of {})", list.dropped(), list.kept().back().file));
    for (Severity const severity : kAll)
        counts_[static_cast<std::size_t>(severity)] += list.Count(severity);
    wasted_ += list.wasted();
}

Json FindingRows::Sums() const {
    Json sums = Json::object();
    for (Severity const severity : kAll)
        sums[NameOf(severity)] = Count(severity);
    sums["wasted_bytes"] = wasted_;
    return sums;
}

}  // namespace torvane
