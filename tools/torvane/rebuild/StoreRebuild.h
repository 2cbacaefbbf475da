#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "storage/DLPCacheIndex.h"
#include "storage/DLPCacheManager.h"
#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/RecordCheck.h"
#include "tools/torvane/check/Slots.h"
#include "tools/torvane/check/StoreCheck.h"
#include "tools/torvane/rebuild/LeftOut.h"

namespace torvane {

enum class Purpose {
    kRepair,   // every sound record, whether a chain leads to it or not
    kCompact,  // of a sound store what the library answers, byte for byte
};

// Makes the record store of one directory anew in another one, through the library's own storage classes: the records
// that answer, each as the library would read it, then (repair) those that answer again once the chains are whole. Of a
// task's store every number keeps its slot; one without a sound record becomes one without data. One object, one
// thread.
class StoreRebuild {
  public:
    // `check` has run, with Depth::kFull for a repair. `directory`: the new store's; it exists.
    StoreRebuild(Purpose purpose, StorePlace const& source, std::string const& source_name, StoreCheck const& check,
                 std::string const& directory, Carried& carried);

    // Once. Throws Stop(kIo).
    void Run();

  private:
    void MakeStore();
    void CarryNumbers();
    void CarryText(bool answers);
    // Whether the new store has the key, or could not have it.
    [[nodiscard]] bool IsPresent(std::uint64_t number, RawSlot slot);
    // Why a repair leaves the slot out; empty: it does not.
    [[nodiscard]] std::string WhyNot(std::uint64_t number, RawSlot slot);
    // Whether its record shares bytes with one that was carried over.
    [[nodiscard]] bool SharesBytes(RawSlot slot) const;
    void Carry(std::uint64_t number, RawSlot slot);
    void CarryEmpty(std::uint64_t number, RawSlot slot);
    void LeaveOut(std::uint64_t number, std::string what);
    [[nodiscard]] int BucketCount() const;
    [[nodiscard]] bool IsAnswer(std::uint64_t number) const;
    void Require(int code) const;

    Purpose purpose_;
    StorePlace const& source_;
    std::string source_name_;
    StoreCheck const& check_;
    std::string directory_;
    Carried& carried_;
    FileView data_;
    RecordCheck records_;
    bool has_numbers_;
    std::uint64_t slots_;
    std::unique_ptr<DLPCache::Manager> store_;
    std::unique_ptr<DLPCache::Index> index_;
    std::vector<std::uint8_t> bytes_;               // of the record at hand
    std::map<std::int64_t, std::int64_t> extents_;  // carried over by a repair: begin and end
};

}  // namespace torvane
