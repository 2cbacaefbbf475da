#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/RecordCursor.h"

namespace torvane {

// Tells whether the library would give back the records of a store's data file. Says the same as decoding them with the
// library's classes, without their memory: a test compares the two. Besides, an answer's keyword text must be
// decodable, which the library takes for an empty one otherwise, and no count may be negative. One object, one thread.
// Throws Stop(kIo).
class RecordCheck {
  public:
    static constexpr std::size_t kWindow = std::size_t{1} << 20U;  // for records in file order

    RecordCheck(StoreKind kind, FileView const& data, std::size_t window = kWindow)
        : kind_(kind), cursor_(data, window) {}

    // Why the record at this place would not be given back; null when it would.
    [[nodiscard]] char const* WhyNotDecodable(std::uint64_t offset, std::uint32_t length);

    // Findings are also held against these templates' ids, which stay the caller's; null: they are not.
    void HoldAgainst(std::set<std::u16string> const* templates) { templates_ = templates; }
    // Whether the finding that was decoded last names another template.
    [[nodiscard]] bool NamesOther() const { return names_other_; }

  private:
    [[nodiscard]] char const* WhyNoAnswer(std::uint32_t length);
    [[nodiscard]] char const* WhyNoFinding(std::uint32_t length);
    [[nodiscard]] char const* WhyNoCounts(std::uint32_t length);
    [[nodiscard]] bool ReadRules();
    [[nodiscard]] bool ReadTplIds();

    StoreKind kind_;
    RecordCursor cursor_;
    std::vector<std::int32_t> rule_sizes_;  // of the record at hand
    std::set<std::u16string> const* templates_ = nullptr;
    bool names_other_ = false;
};

}  // namespace torvane
