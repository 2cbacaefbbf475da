#pragma once

#include <vector>

namespace bench {

// The median of some measurements and the bounds of their middle half.
struct Spread {
    double median = 0;
    double low = 0;   // a quarter of the measurements lies below
    double high = 0;  // a quarter lies above
};

// Of at least one value.
[[nodiscard]] Spread SpreadOf(std::vector<double> values);

}  // namespace bench
