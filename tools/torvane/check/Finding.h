#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace torvane {

enum class Severity {
    kDamage,      // an invariant does not hold
    kWaste,       // sound, but unfinished or space without meaning
    kUnreadable,  // could not be looked at
    kBusy,        // kept changing while it was looked at
};
inline constexpr std::size_t kSeverities = 4;
[[nodiscard]] char const* NameOf(Severity severity);  // "damage", "waste", "unreadable", "busy"

// One thing that a check has found.
struct Finding {
    Severity severity{};
    char const* kind = "";               // a word for programs: "slot-key"; the schema lists them
    std::string file;                    // below the root
    std::optional<std::uint64_t> slot;   // of an index, from 1
    std::optional<std::int64_t> offset;  // in bytes; in the index for what is wrong with a slot, else in the data file
    std::string what;                    // for people
    std::string lost;                    // what the library cannot answer any more because of it; empty: nothing
    std::uint64_t wasted = 0;            // bytes
    bool is_final = false;               // of waste: what is lost is gone, and a copy of the rest answers no worse
};

// What has been found in one place. Keeps the first 10,000 findings of each severity and counts all. One object, one
// thread.
class FindingList {
  public:
    static constexpr std::size_t kKept = 10000;  // of each severity

    void Add(Finding finding);
    void Append(FindingList&& other);
    // Damage that is added from now on is something unfinished when `is_meant` holds for it.
    void TellAsUnfinished(bool (*is_meant)(Finding const&)) { is_unfinished_ = is_meant; }
    // An empty list that tells the same as unfinished.
    [[nodiscard]] FindingList Another() const;

    [[nodiscard]] std::uint64_t Count(Severity severity) const { return counts_[static_cast<std::size_t>(severity)]; }
    [[nodiscard]] std::uint64_t wasted() const { return wasted_; }
    [[nodiscard]] std::uint64_t dropped() const { return dropped_; }  // counted but not kept
    // Waste that may be a loss which is not final.
    [[nodiscard]] std::uint64_t losses() const { return losses_; }
    [[nodiscard]] std::vector<Finding> const& kept() const { return kept_; }

  private:
    void Keep(Finding&& finding);

    bool (*is_unfinished_)(Finding const&) = nullptr;
    std::vector<Finding> kept_;
    std::array<std::size_t, kSeverities> kept_counts_{};
    std::array<std::uint64_t, kSeverities> counts_{};
    std::uint64_t wasted_ = 0;
    std::uint64_t dropped_ = 0;
    std::uint64_t losses_ = 0;
};

// Adds findings about one file to a list.
class Reporter {
  public:
    // `file`: its name below the root.
    Reporter(FindingList& list, std::string file) : list_(list), file_(std::move(file)) {}

    struct Place {
        std::optional<std::uint64_t> slot = std::nullopt;
        std::optional<std::int64_t> offset = std::nullopt;
    };
    void Damage(char const* kind, Place place, std::string what, std::string lost) const;
    // `lost`: when it may be something else than a process that was killed that has left it so.
    void Waste(char const* kind, Place place, std::string what, std::uint64_t wasted, std::string lost = "") const;
    // Waste of no bytes: something is gone, and what is left answers without it.
    void Gap(char const* kind, Place place, std::string what, std::string lost) const;
    void Unreadable(std::string what) const;
    [[nodiscard]] std::string const& file() const { return file_; }

  private:
    FindingList& list_;
    std::string file_;
};

}  // namespace torvane
