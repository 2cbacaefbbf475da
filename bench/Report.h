#pragma once

#include <benchmark/benchmark.h>

#include "bench/Row.h"

namespace bench {

// Prints each row of the table as soon as it is measured, in place of Google Benchmark's own console output.
class TableReporter final : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(Context const& context) override;
    void ReportRuns(std::vector<Run> const& runs) override;

  private:
    std::size_t printed_ = 0;
};

// Prints how many rows are short; true when none is.
[[nodiscard]] bool PrintVerdict();

}  // namespace bench
