#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/torvane/check/Finding.h"
#include "tools/torvane/output/Output.h"

namespace torvane {

// Shows findings as rows of a list and keeps their sums. One object, one thread.
class FindingRows {
  public:
    explicit FindingRows(Output& out) : out_(out) {}

    [[nodiscard]] static std::vector<Column> Columns();
    void Show(FindingList const& list);
    [[nodiscard]] std::uint64_t Count(Severity severity) const { return counts_[static_cast<std::size_t>(severity)]; }
    [[nodiscard]] std::uint64_t wasted() const { return wasted_; }
    // The sums as members of the list's object.
    [[nodiscard]] Json Sums() const;

  private:
    Output& out_;
    std::array<std::uint64_t, kSeverities> counts_{};
    std::uint64_t wasted_ = 0;
};

// "1 slot", "2 slots".
[[nodiscard]] std::string Counted(std::uint64_t count, std::string const& thing);

}  // namespace torvane
