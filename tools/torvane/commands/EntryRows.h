#pragma once

#include <cstdint>

#include "tools/torvane/commands/Rows.h"

// Rows of what lies in record stores: of slot `number`, which has been read as `slot`.
namespace torvane {

[[nodiscard]] Row AnswerRow(StoreView& store, std::uint64_t number, Slot const& slot, Detail const& detail);
[[nodiscard]] Row FindingRow(StoreView& store, std::uint64_t number, Slot const& slot, Detail const& detail);
// Counts that nothing tells the policy's version of are thrown away by the library: whether these are.
[[nodiscard]] Look LookAtMarker(StorePlace const& place);
// With detail.marker of its store.
[[nodiscard]] Row CounterRow(StoreView& store, std::uint64_t number, Slot const& slot, Detail const& detail);

}  // namespace torvane
