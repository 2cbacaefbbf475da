#pragma once

#include <functional>

#include "bench/Row.h"

namespace bench {

// Runs `work` in a process of its own, forked from this one, and gives its result: for what a process does only once.
// To be used before this process has threads or singletons of the library, which the child would inherit.
[[nodiscard]] Sample InChild(std::function<Sample()> const& work);

}  // namespace bench
