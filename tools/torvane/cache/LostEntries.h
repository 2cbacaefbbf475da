#pragma once

#include <cstdint>

#include "tools/torvane/cache/StoreView.h"

namespace torvane {

// Counts the entries of one store that are in its index and cannot be reached, while somebody goes through its slots.
// The first that is found is looked at again, by LookAtFile: it tells whether the store is damaged or busy. Uses
// `store`, which it may open anew. One thread. Throws Stop(kIo).
class LostEntries {
  public:
    explicit LostEntries(StoreView& store) : store_(store) {}

    // Whether this slot of a text key, which has been read as `slot`, is the one that its key is answered from.
    [[nodiscard]] bool IsAnswered(std::uint64_t number, Slot& slot);
    // The slots from `first` on, before `end`, were found to be empty. Whether some of them are not any more.
    [[nodiscard]] bool TakeGap(std::uint64_t first, std::uint64_t end);

    [[nodiscard]] std::uint64_t count() const { return cut_off_ + empty_; }
    // What is to be said of them.
    [[nodiscard]] Look look() const;

  private:
    [[nodiscard]] bool MayLook();

    StoreView& store_;
    std::uint64_t cut_off_ = 0;
    std::uint64_t empty_ = 0;
    Soundness soundness_ = Soundness::kSound;
    int looks_ = 0;
};

}  // namespace torvane
