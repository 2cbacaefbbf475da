#include "tools/torvane/check/OverlapCheck.h"

#include <algorithm>

namespace torvane {

void OverlapCheck::Visit(Extent const& extent) {
    auto const begin = static_cast<std::uint64_t>(extent.offset);
    std::uint64_t const reached = EndOf(farthest_);
    if (begin < reached && extent.tag != farthest_.tag) found_(extent, farthest_);
    if (EndOf(extent) <= reached) return;
    covered_ += EndOf(extent) - std::max(begin, reached);
    farthest_ = extent;
}

}  // namespace torvane
