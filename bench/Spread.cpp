#include "bench/Spread.h"

#include <algorithm>
#include <cmath>

namespace bench {
namespace {

// The value at `part` (0 to 1) of the sorted values, interpolated between its neighbours.
double Quantile(std::vector<double> const& sorted, double part) {
    double const place = part * static_cast<double>(sorted.size() - 1);
    auto const below = static_cast<std::size_t>(std::floor(place));
    std::size_t const above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (place - std::floor(place));
}

}  // namespace

Spread SpreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {Quantile(values, 0.5), Quantile(values, 0.25), Quantile(values, 0.75)};
}

}  // namespace bench
