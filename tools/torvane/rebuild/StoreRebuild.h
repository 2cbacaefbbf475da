#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "storage/DLPCacheIndex.h"
#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/RecordCheck.h"
#include "tools/torvane/check/Slots.h"
#include "tools/torvane/check/StoreCheck.h"
#include "tools/torvane/rebuild/DataWriter.h"
#include "tools/torvane/rebuild/LeftOut.h"

namespace torvane {

enum class Purpose {
    kRepair,   // every sound record, whether a chain leads to it or not
    kCompact,  // of a sound store what the library answers, byte for byte
};

// Makes the record store of one directory anew in another one, its index through the library's own class: the records
// that answer, each as the library would read it, then (repair) those that answer again once the chains are whole. Of a
// task's store every number keeps its slot; one without a sound record becomes one without data. One object, one
// thread.
class StoreRebuild {
  public:
    // `check` has run, with Depth::kFull for a repair and by the bucket count that the keys lie by. `directory`: the
    // new store's; it exists.
    StoreRebuild(Purpose purpose, StorePlace const& source, std::string const& source_name, StoreCheck const& check,
                 std::string const& directory, Carried& carried);

    // Once. Throws Stop(kIo).
    void Run();

  private:
    void MakeStore();
    void CarryAll();
    void CarryNumbers();
    [[nodiscard]] std::string WhyNoNumber(std::uint64_t number, RawSlot slot);
    void CarryAnswers();
    // What does not answer, but will once the chains are whole: found first, then held against all that is carried
    // over, then carried over.
    void CarryRest();
    [[nodiscard]] bool FindRest();  // whether there is any
    // Without a shape: of a key that several slots hold with different records, any may be another key's.
    void LeaveOutAmbiguous();
    void LeaveOutOverlaps();
    void SayOrphans();
    // Whether the new store has the key, or could not have it.
    [[nodiscard]] bool IsPresent(std::uint64_t number, RawSlot slot);
    // Why a repair leaves the slot out; empty: it does not.
    [[nodiscard]] std::string WhyNot(std::uint64_t number, RawSlot slot);
    void Carry(std::uint64_t number, RawSlot slot);
    void CarryEmpty(std::uint64_t number, RawSlot slot);
    void LeaveOut(std::uint64_t number, std::string what);
    [[nodiscard]] int BucketCount() const;
    [[nodiscard]] bool IsAnswer(std::uint64_t number) const;
    [[nodiscard]] bool IsDoubtful(std::uint64_t number) const;
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
    std::unique_ptr<DLPCache::Index> index_;
    DataWriter records_out_;
    std::vector<bool> taken_;  // of a repair: slots carried over or about to be, a bit each
};

}  // namespace torvane
