#include "bench/Row.h"

#include <benchmark/benchmark.h>

namespace bench {
namespace {

constexpr int kWarmUpRounds = 2;

std::vector<Measured>& Rows() {
    static std::vector<Measured> rows;
    return rows;
}

// Each iteration of the benchmark is one round.
void Run(benchmark::State& state, Row const& row, Round const& round) {
    for (int i = 0; i < kWarmUpRounds; ++i)
        (void)round();
    std::vector<double> ratios, ours, other;
    for ([[maybe_unused]] auto _ : state) {
        Sample const sample = round();
        state.SetIterationTime(sample.ours * 1e-9);
        ours.push_back(sample.ours);
        other.push_back(sample.other);
        ratios.push_back(RatioOf(row, sample));
    }
    Measured const measured{row, SpreadOf(ratios), SpreadOf(ours), SpreadOf(other), static_cast<int>(ratios.size())};
    state.counters["ratio"] = measured.ratio.median;
    state.counters["ratio_low"] = measured.ratio.low;
    state.counters["ratio_high"] = measured.ratio.high;
    state.counters["ours"] = measured.ours.median;
    state.counters["other"] = measured.other.median;
    state.counters["limit"] = row.limit;
    state.counters["short"] = IsShort(measured);
    Rows().push_back(measured);
}

}  // namespace

double RatioOf(Row const& row, Sample const& sample) {
    bool const ours_first = row.target == Target::kAtMost || row.target == Target::kGain;
    return ours_first ? sample.ours / sample.other : sample.other / sample.ours;
}

bool IsShort(Measured const& measured) {
    double const ratio = measured.ratio.median;
    switch (measured.row.target) {
        case Target::kAtMost:
            return !(ratio <= measured.row.limit);
        case Target::kAtLeast:
        case Target::kGain:
            return !(ratio >= measured.row.limit);
        case Target::kMoreThan:
            return !(ratio > measured.row.limit);
        case Target::kNone:
            break;
    }
    return false;
}

void AddRow(Row const& row, int rounds, std::function<Round()> prepare) {
    auto body = [row, prepare = std::move(prepare)](benchmark::State& state) { Run(state, row, prepare()); };
    benchmark::RegisterBenchmark(row.name.c_str(), body)
        ->UseManualTime()
        ->Iterations(rounds)
        ->Unit(benchmark::kMicrosecond);
}

std::vector<Measured> const& MeasuredRows() {
    return Rows();
}

}  // namespace bench
