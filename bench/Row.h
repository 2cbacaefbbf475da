#pragma once

#include <functional>
#include <string>

#include "bench/Spread.h"

namespace bench {

// How a row's ratio is formed and held against its limit.
enum class Target {
    kAtMost,    // ours / other, at most the limit
    kAtLeast,   // other / ours ("times faster"), at least the limit
    kMoreThan,  // other / ours, more than the limit
    kGain,      // ours / other of two gains, at least the limit
    kNone,      // other / ours, for the record
};

// One line of the table.
struct Row {
    std::string name;   // for the filter: "index/find"
    std::string what;   // what is measured
    std::string other;  // what it is held against
    Target target = Target::kAtMost;
    double limit = 0;
};

// One round: what either side took, in nanoseconds per operation (gains: as factors).
struct Sample {
    double ours = 0;
    double other = 0;
};
using Round = std::function<Sample()>;

// A row with the medians of its rounds. The ratio is formed in each round, between neighbours in time, and only then
// does the median fall.
struct Measured {
    Row row;
    Spread ratio;
    Spread ours;
    Spread other;
    int rounds = 0;
};

[[nodiscard]] double RatioOf(Row const& row, Sample const& sample);
[[nodiscard]] bool IsShort(Measured const& measured);

// Adds a row to the run. `prepare` is called when its turn comes and makes the round, which then lives until the row
// ends; the first rounds warm up and are dropped.
void AddRow(Row const& row, int rounds, std::function<Round()> prepare);

// The rows measured so far.
[[nodiscard]] std::vector<Measured> const& MeasuredRows();

}  // namespace bench
