#include "bench/Report.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace bench {
namespace {

using Text = std::array<char, 64>;

Text TargetText(Row const& row) {
    Text text{};
    char const* const sign = row.target == Target::kAtMost ? "<=" : row.target == Target::kMoreThan ? ">" : ">=";
    if (row.target == Target::kNone) {
        std::snprintf(text.data(), text.size(), "-");
    } else {
        std::snprintf(text.data(), text.size(), "%s %.4g x", sign, row.limit);
    }
    return text;
}

Text RatioText(Spread const& ratio) {
    Text text{};
    int const digits = ratio.median < 100 ? 2 : 0;
    std::snprintf(text.data(), text.size(), "%.*f x (%.*f..%.*f)", digits, ratio.median, digits, ratio.low, digits,
                  ratio.high);
    return text;
}

Text TimeText(Measured const& measured, double value) {
    Text text{};
    if (measured.row.target == Target::kGain) {
        std::snprintf(text.data(), text.size(), "gain %.2f", value);
    } else if (value < 1e6) {
        std::snprintf(text.data(), text.size(), "%.2f us", value / 1e3);
    } else {
        std::snprintf(text.data(), text.size(), "%.2f ms", value / 1e6);
    }
    return text;
}

char const* VerdictText(Measured const& measured) {
    if (measured.row.target == Target::kNone) return "-";
    return IsShort(measured) ? "SHORT" : "ok";
}

void PrintLine(char const* what, char const* target, char const* ratio, char const* ours, char const* other,
               char const* verdict, char const* against) {
    std::printf("%-64s %-9s %-24s %11s %11s  %-5s  %s\n", what, target, ratio, ours, other, verdict, against);
}

void PrintRow(Measured const& measured) {
    PrintLine(measured.row.what.c_str(), TargetText(measured.row).data(), RatioText(measured.ratio).data(),
              TimeText(measured, measured.ours.median).data(), TimeText(measured, measured.other.median).data(),
              VerdictText(measured), measured.row.other.c_str());
    std::fflush(stdout);
}

}  // namespace

bool TableReporter::ReportContext(Context const& /*context*/) {
    std::printf(
        "Medians; in brackets the middle half of the rounds' ratios. A round: ours, the other, the other, ours.\n\n");
    PrintLine("what", "target", "measured", "ours", "other", "", "other is");
    return true;
}

void TableReporter::ReportRuns(std::vector<Run> const& /*runs*/) {
    std::vector<Measured> const& rows = MeasuredRows();
    for (; printed_ < rows.size(); ++printed_)
        PrintRow(rows[printed_]);
}

bool PrintVerdict() {
    auto const& rows = MeasuredRows();
    auto const total =
        std::count_if(rows.begin(), rows.end(), [](auto const& row) { return row.row.target != Target::kNone; });
    auto const missed = std::count_if(rows.begin(), rows.end(), IsShort);
    std::printf("\n%td rows with a target: %td ok, %td short.\n", total, total - missed, missed);
    return missed == 0;
}

}  // namespace bench
