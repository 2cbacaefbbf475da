#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/cache/IndexView.h"
#include "tools/torvane/cache/Records.h"

namespace torvane {

// Whether what was looked at can be told from what is there.
enum class Soundness { kSound, kDamaged, kBusy };
[[nodiscard]] char const* NameOf(Soundness soundness);  // "sound", "damaged", "busy"

struct Look {
    Soundness soundness = Soundness::kSound;
    std::string damage;  // what is wrong when it is not sound
};
inline constexpr int kLooks = 3;  // at what keeps changing

// Calls `read`, which says what is wrong with the file at `path` and what belongs to it, again as long as that may be
// because somebody is writing: damaged is only what stays so for half a second in which the file, or for a file that is
// missing its directory, stays as it is. What is in a directory that is gone is busy.
[[nodiscard]] Look LookAtFile(std::string const& path, std::function<std::string()> const& read);

// What can be wrong with an index as a whole.
inline constexpr char kBadHead[] = "index head is not valid";
inline constexpr char kForeignIndex[] = "what stands in the index's place is no file";
inline constexpr char kCutIndex[] = "index is cut, entries are missing";
// What is wrong with an index as a whole; empty: nothing, or it is missing.
[[nodiscard]] std::string DamageOf(IndexView const& index);

// Whether the store of a template is not finished or half removed, or gone by now: the template file comes last and
// goes first.
[[nodiscard]] bool IsUnfinished(StorePlace const& place);
// Whether a store of this kind with this data file, whose index is there, may be half removed: what belongs to a task
// is deleted in no order.
[[nodiscard]] bool MayBeHalfRemoved(StoreKind kind, FileView const& data);

// What a used slot is for its key.
enum class Standing {
    kAnswers,   // the library answers from it
    kRepeats,   // an earlier slot holds the key
    kUnlinked,  // no chain leads to it, as after a kill between its being appended and linked
    kCutOff,    // damage: it should be answered from and is not reached
};

class StoreView;

// How the index of a store is as a whole.
struct IndexLook : Look {
    bool is_readable = false;  // its slots can be told from each other, although some may be missing
};
// Opens the store anew and looks at its index, as LookAtFile does.
[[nodiscard]] IndexLook LookAtIndex(StoreView& store);

// A record store's two files, read and never changed. One object, one thread. Throws Stop(kIo) for what may not be
// read.
class StoreView {
  public:
    explicit StoreView(StorePlace place);

    [[nodiscard]] StorePlace const& place() const { return place_; }
    [[nodiscard]] IndexView const& index() const { return index_; }
    [[nodiscard]] FileView const& data() const { return data_; }
    // Why no slot of it can be told from the next; empty when they can, when there are no files yet
    // and when it is not finished or half removed.
    [[nodiscard]] std::string Damage() const;
    // Whether nothing is answered from it as it is not finished or half removed. To be asked when there is no damage.
    [[nodiscard]] bool IsLeftover() const;
    [[nodiscard]] bool HasChanged() const { return index_.file().HasChanged() || data_.HasChanged(); }
    void OpenAgain();
    // See IndexView.
    void KeepChained(std::size_t most) { index_.KeepChained(most); }

    // A text key is answered from the first slot of its chain that holds the key, a number from its own one.
    [[nodiscard]] Standing StandingOf(std::uint64_t number, Slot const& slot) const;
    [[nodiscard]] bool Answers(std::uint64_t number, Slot const& slot) const {
        return StandingOf(number, slot) == Standing::kAnswers;
    }
    // How many findings the slots from `first` on, before `end`, should hold when they are empty: numbers are given one
    // after the other. None of other stores.
    [[nodiscard]] std::uint64_t EmptyNumbers(std::uint64_t first, std::uint64_t end) const;
    // The slot that the library would answer from; text keys as they stand in a slot.
    [[nodiscard]] IndexView::Search Find(std::string const& text_key) const { return index_.SearchFor(text_key); }

    using Decoder = std::function<std::string(RecordBytes)>;
    struct Look : torvane::Look {
        Slot slot;  // as it was read last
    };
    // Reads the record of slot `number`, which has been read as `slot`, and hands its bytes to `decode`, which may be
    // called several times: what cannot be decoded while somebody writes is looked at again, as by LookAtFile. A slot
    // that is gone then is busy, and so is one of a store that is being removed. A key without data is not decoded.
    [[nodiscard]] Look LookAt(std::uint64_t number, Slot const& slot, Decoder const& decode);

  private:
    [[nodiscard]] std::string Decode(Slot const& slot, Decoder const& decode);
    [[nodiscard]] bool WasWrittenJustNow() const;
    void Wait();

    StorePlace place_;
    IndexView index_;
    FileView data_;
    std::vector<std::uint8_t> bytes_;
    int waits_ = 0;  // of all looks together
};

}  // namespace torvane
