#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

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

    // Once. What cannot be read is told.
    void Run();
    [[nodiscard]] std::uint64_t stores() const { return stores_; }

  private:
    [[nodiscard]] FindingList NewList() const;
    [[nodiscard]] std::vector<StorePlace> Places();
    // Of `file`, a directory; once for each that cannot be read.
    void TellUnread(std::string const& file, Stop const& stop);
    void Look(std::string const& file, std::function<void(FindingList&, ChangeWatch&)> const& look);
    [[nodiscard]] FindingList LookAtStore(StorePlace const& place) const;  // any thread
    void CheckTree();
    void CheckTexts(StorePlace const& task);

    CacheRoot const& root_;
    Depth depth_;
    Listener listener_;
    std::uint64_t stores_ = 0;
    std::set<std::string> unread_;  // what was told of the directories above the stores' own
};

}  // namespace torvane
