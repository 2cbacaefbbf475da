#include <cstddef>
#include <memory>

#include "bench/Counting.h"
#include "bench/Duel.h"
#include "bench/rows/Rows.h"

namespace bench {
namespace {

constexpr int kOften = 10000;
constexpr int kRounds = 101;

Round CountManyTimes() {
    auto const counting = std::make_shared<Counting>(kOften - kRounds / 2);
    auto const next = std::make_shared<std::size_t>(0);
    return [counting, next] {
        double const start = Now();
        counting->CountOften();
        double const often = Now() - start;
        double const first_start = Now();
        counting->CountFirst((*next)++);
        return Sample{often, Now() - first_start};
    };
}

}  // namespace

void AddRecordRows() {
    AddRow({"sensrecord/count", "the 10,000th count of one file", "the first count of another", Target::kAtMost, 12},
           kRounds, CountManyTimes);
}

}  // namespace bench
