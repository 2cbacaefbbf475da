#pragma once

#include <cstddef>
#include <functional>

#include "bench/Row.h"

namespace bench {

// Nanoseconds on the clock that never jumps.
[[nodiscard]] double Now();

// One side of a round: does a block of operations and returns the nanoseconds that one of them took.
using Side = std::function<double()>;
// The i-th operation of a side, counted through all rounds.
using Operation = std::function<void(std::size_t)>;

// A block of `count` operations, timed as a whole. A count of 0 means: as many as take about half a millisecond, found
// out in the first block.
[[nodiscard]] Side Repeat(Operation operation, std::size_t count = 0);
// Operations timed one by one, with `after` run untimed behind each. Returns the median, since a block's mean would
// carry whatever else the machine did.
[[nodiscard]] Side OneByOne(Operation operation, std::function<void()> after, std::size_t count);

// A round: ours, the other, the other, ours, so that neither has the better place in it.
[[nodiscard]] Round Duel(Side ours, Side other);

}  // namespace bench
