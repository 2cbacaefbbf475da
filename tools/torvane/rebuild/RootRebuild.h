#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/rebuild/LeftOut.h"
#include "tools/torvane/rebuild/StoreRebuild.h"

namespace torvane {

// Makes a new root from what is worth keeping of another one, which is only read: the stores, the agent's definitions
// and settings as they are, and last the stamp of the cache layout, so that the library wipes a root that was not
// finished. Not the log. One object, one thread.
class RootRebuild {
  public:
    struct Listener {
        std::function<void(Carried const&)> carried;  // one place
        std::function<void(std::uint64_t done, std::uint64_t total, std::string const& where)> progress;
    };

    // `out`: an empty directory.
    RootRebuild(Purpose purpose, CacheRoot const& source, std::string out, Listener listener);

    // Once. Throws Stop: kIo, or kBusy when a store or the agent's files were written each time that they were copied;
    // Interruption::Interrupted.
    void Run();

  private:
    void TellTree();
    void CarryStore(StorePlace const& place);
    // The same, once; false when the store was written meanwhile.
    [[nodiscard]] bool TryStore(StorePlace const& place, std::string const& name, Carried& carried);
    void CarryTexts(StorePlace const& place, std::string const& name, Carried& carried, ChangeWatch& watch);
    void CarryAgentsFiles(std::string const& directory);
    // The same, once; false when one of them was written meanwhile.
    [[nodiscard]] bool TryAgentsFiles(std::string const& directory, Carried& carried);
    void CarryStamp();

    Purpose purpose_;
    CacheRoot const& source_;
    std::string out_;
    Listener listener_;
};

}  // namespace torvane
