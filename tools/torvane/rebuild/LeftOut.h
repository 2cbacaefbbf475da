#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvane {

// What a new root does not have, and why.
struct LeftOut {
    std::string file;                   // below the source's root
    std::optional<std::uint64_t> slot;  // of an index, from 1
    std::string what;
};

// What was carried over from one place, and what was not: the first 10,000 of these are kept, all are counted.
class Carried {
  public:
    static constexpr std::size_t kKept = 10000;

    std::uint64_t records = 0;       // entries with a record
    std::uint64_t empty = 0;         // entries without one
    std::uint64_t files = 0;         // files copied as they are
    std::uint64_t record_bytes = 0;  // of the records

    void LeaveOut(LeftOut left) {
        ++count_;
        if (left_out_.size() < kKept) left_out_.push_back(std::move(left));
    }
    [[nodiscard]] std::uint64_t left_out_count() const { return count_; }
    [[nodiscard]] std::vector<LeftOut> const& left_out() const { return left_out_; }

  private:
    std::vector<LeftOut> left_out_;
    std::uint64_t count_ = 0;
};

}  // namespace torvane
