#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/LostEntries.h"
#include "tools/torvane/cli/Settings.h"
#include "tools/torvane/commands/Listed.h"
#include "tools/torvane/commands/Rows.h"
#include "tools/torvane/output/Output.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

// Walks through a cache, in constant memory and without looking ahead: the first thing is told at once. One object, one
// thread. Throws Stop.
class Listing {
  public:
    // Quiet settings: no lines on stderr about stores that cannot be listed. How far it is shows while the list goes
    // elsewhere than to a terminal.
    Listing(CacheRoot const& root, ListFilter filter, Settings const& settings);

    // Gives every thing to `take`, until that returns false; false then. Stores come in the order of id and version, in
    // them slots in the order of the file.
    bool ForEach(Listed listed, std::function<bool(Json const&)> const& take);

    // Looks for what the filter names without listing any of it.
    void Find(Listed listed);

    // Of all that was listed: kYes; kIo when something could not be read, which is told on stderr; kNo when something
    // is damaged, or when a filter names what there is not; kBusy when nothing else could be said.
    [[nodiscard]] ExitStatus Status() const;

  private:
    using Take = std::function<bool(Json const&)>;
    bool Templates(Take const& take);
    bool Tasks(Take const& take);
    bool Texts(Take const& take);
    bool TextsOf(StorePlace const& place, Take const& take);
    bool Entries(StoreKind kind, Take const& take);
    [[nodiscard]] std::vector<StorePlace> Wanted(StoreKind kind);
    // Whatever `list` returns; true when it cannot read something, which is remembered.
    bool GoOn(std::function<bool()> const& list);
    void TellUnread(Stop const& stop);
    void TellForeign(std::string const& path);  // something that is no directory, where one should be
    bool EntriesOf(StorePlace const& place, Take const& take);
    bool EntriesOf(StoreView& store, LostEntries& lost, Take const& take);
    bool Give(Row const& row, Take const& take);
    [[nodiscard]] std::string const& IdOf(StoreKind kind) const;  // that the filter names
    [[nodiscard]] bool IsWanted(Row const& row) const;
    void Complain(StorePlace const& place, Look const& look);

    CacheRoot const& root_;
    ListFilter filter_;
    Detail detail_;
    bool quiet_;
    Progress progress_;
    std::uint64_t given_ = 0;
    bool named_ = false;   // a store that the filter names is there
    bool giving_ = false;  // what fails now is not the reading
    bool unread_ = false;
    bool sound_ = false;
    bool damaged_ = false;
    bool busy_ = false;
};

// Tells on stderr of a task's store that is left out as it is half removed. Nothing about others, and of an empty one.
void WarnOfLeftover(StoreView const& store);

}  // namespace torvane
