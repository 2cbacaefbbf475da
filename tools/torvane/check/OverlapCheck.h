#pragma once

#include <cstdint>
#include <functional>

#include "tools/torvane/check/Extents.h"

namespace torvane {

// Finds records of different keys that share bytes, shown the answering slots in the order of their records: each
// against the one before that reaches farthest. One object, one thread.
class OverlapCheck {
  public:
    // `found` gets the later record, then the one that it overlaps with.
    explicit OverlapCheck(std::function<void(Extent const&, Extent const&)> found) : found_(std::move(found)) {}

    void Visit(Extent const& extent);
    // Bytes that belong to a record.
    [[nodiscard]] std::uint64_t covered() const { return covered_; }

  private:
    [[nodiscard]] static std::uint64_t EndOf(Extent const& extent) {
        return static_cast<std::uint64_t>(extent.offset) + extent.length;
    }

    std::function<void(Extent const&, Extent const&)> found_;
    Extent farthest_;
    std::uint64_t covered_ = 0;
};

}  // namespace torvane
