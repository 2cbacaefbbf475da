#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/Finding.h"
#include "tools/torvane/check/StoreCheck.h"

namespace torvane {

// Looks at one place again while it changes: damage counts only when nothing was written meanwhile. Appends what was
// found to `list`; after the third look that met a change, that `file` is busy. A Stop(kIo) becomes a finding.
void LookUntilSettled(FindingList& list, std::string const& file,
                      std::function<void(FindingList&, ChangeWatch&)> const& look);

// Everything below a root, place by place; two stores at once, told in their order. One object, one thread, which alone
// hears of anything.
class RootCheck {
  public:
    struct Listener {
        std::function<void(FindingList&&)> found;  // what one place had, told as soon as it was looked at
        std::function<void(std::uint64_t done, std::uint64_t total, std::string const& where)> progress;
    };

    RootCheck(CacheRoot const& root, Depth depth, Listener listener);

    // Once. Throws Stop(kIo) when the directories of the stores cannot be listed at all.
    void Run();
    [[nodiscard]] std::uint64_t stores() const { return stores_; }

  private:
    void Tell(FindingList&& list) const;
    void Look(std::string const& file, std::function<void(FindingList&, ChangeWatch&)> const& look);
    [[nodiscard]] FindingList LookAtStore(StorePlace const& place) const;  // any thread
    void CheckTree();
    void CheckTexts(StorePlace const& task);

    CacheRoot const& root_;
    Depth depth_;
    Listener listener_;
    std::uint64_t stores_ = 0;
};

}  // namespace torvane
