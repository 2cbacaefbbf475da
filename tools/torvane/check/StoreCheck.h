#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/IndexView.h"
#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"
#include "tools/torvane/check/IndexHeadCheck.h"

namespace torvane {

class SlotCheck;

enum class Depth {
    kQuick,  // heads, lengths, links and where records lie
    kFull,   // and every record decoded, and the bucket of each key worked out
};

// One record store: its index file and its data file. One object, one thread.
class StoreCheck {
  public:
    // `directory`: the store's, below the root. Both files are watched from now on.
    StoreCheck(StorePlace const& place, std::string directory, Depth depth, FindingList& list, ChangeWatch& watch);
    ~StoreCheck();
    StoreCheck(StoreCheck const&) = delete;
    StoreCheck& operator=(StoreCheck const&) = delete;

    // Before Run: findings are held against the ids of these templates, those of the task's snapshot, too.
    void HoldAgainst(std::set<std::u16string> const& templates) { templates_ = &templates; }
    // Before Run: the bucket count is this one, whatever the head of the index says; 0: it is not known, and the slots
    // have no shape. Of text keys only.
    void Believe(std::uint32_t buckets) { believed_ = buckets; }

    // Once. Throws Stop(kIo).
    void Run();

    // Whether there is neither an index nor a record.
    [[nodiscard]] bool IsEmpty() const { return is_empty_; }
    // Findings that name another template.
    [[nodiscard]] std::uint64_t of_other_templates() const { return of_other_templates_; }
    // What was found, for those who go on with it. No shape: there are no slots to go by.
    [[nodiscard]] IndexView const& index() const { return index_; }
    [[nodiscard]] bool has_shape() const { return shape_.has_value(); }
    [[nodiscard]] IndexShape const& shape() const { return *shape_; }
    // A bit per slot: the library answers from it.
    [[nodiscard]] std::vector<bool> const& answers() const { return answers_; }
    // Slots whose key does not belong to their chain and, with Depth::kFull, those of decodable records of different
    // keys that share bytes, of which one is not its key's. A bit per slot, or empty when there are none.
    [[nodiscard]] std::vector<bool> const& doubtful() const { return doubtful_; }

  private:
    [[nodiscard]] bool IsIndexThere() const;
    void CheckOrphan();
    void CheckRecords(SlotCheck& slots);
    void TellMissingData(FileView const& data, std::uint64_t entries);
    void Doubt(std::uint32_t slot);

    StorePlace place_;
    Depth depth_;
    Reporter index_report_;
    Reporter data_report_;
    IndexView index_;
    std::optional<std::uint32_t> believed_;
    std::optional<IndexShape> shape_;
    std::vector<bool> answers_;
    std::vector<bool> doubtful_;
    std::set<std::u16string> const* templates_ = nullptr;
    std::uint64_t of_other_templates_ = 0;
    bool is_empty_ = false;
};

}  // namespace torvane
