#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace scanner {

// What a thread spends its time on while it works on files.
enum Stage : std::size_t { kRead, kMd5, kLookup, kExtract, kScan, kStore, kStages };
inline constexpr std::array<char const*, kStages> kStageNames{"read", "md5", "lookup", "extract", "scan", "store"};

// How the answers of one template came about.
struct TemplateCounters {
    std::uint64_t scanned = 0;
    std::uint64_t unstorable = 0;  // scanned, handed over, and not to be found afterwards
    std::uint64_t matched = 0;
};

// The figures of a run, counted by each thread for itself and added up at the end. A value.
struct Counters {
    using Seconds = std::chrono::duration<double>;

    std::uint64_t files = 0;  // read and answered
    std::uint64_t bytes = 0;
    std::uint64_t full_hits = 0;
    std::uint64_t partial_hits = 0;
    std::uint64_t misses = 0;
    std::uint64_t answers_from_cache = 0;
    std::uint64_t sensitive_files = 0;
    std::uint64_t unrecorded = 0;        // sensitive files that the task refused
    std::uint64_t unstorable_files = 0;  // with at least one unstorable answer
    std::uint64_t outdated_answers = 0;  // dropped because the definition changed during the scan
    std::uint64_t too_large = 0;
    std::uint64_t not_regular = 0;  // became something else between listing and opening
    std::uint64_t unreadable = 0;
    std::uint64_t damaged = 0;  // compressed data that ends in an error
    std::uint64_t texts_cut = 0;
    std::uint64_t texts_kept = 0;  // not extracted, since an earlier scan of the task had kept them
    std::array<Seconds, kStages> seconds{};
    std::vector<TemplateCounters> templates;

    explicit Counters(std::size_t template_count) : templates(template_count) {}
    Counters& operator+=(Counters const& other);

    [[nodiscard]] std::uint64_t answers_scanned() const { return Sum(&TemplateCounters::scanned); }
    [[nodiscard]] std::uint64_t answers_unstorable() const { return Sum(&TemplateCounters::unstorable); }

  private:
    [[nodiscard]] std::uint64_t Sum(std::uint64_t TemplateCounters::*figure) const;
};

// Charges the time since its last mark to stages.
class Stopwatch {
  public:
    explicit Stopwatch(Counters& counters) : counters_(counters) {}

    void Mark(Stage stage) {
        auto const now = Clock::now();
        counters_.seconds[stage] += now - last_;
        last_ = now;
    }

  private:
    using Clock = std::chrono::steady_clock;

    Counters& counters_;
    Clock::time_point last_ = Clock::now();
};

}  // namespace scanner
