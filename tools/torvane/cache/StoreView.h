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

// A record store's two files, read and never changed. One object, one thread. Throws Stop(kIo) for what may not be
// read.
class StoreView {
  public:
    explicit StoreView(StorePlace place);

    [[nodiscard]] StorePlace const& place() const { return place_; }
    [[nodiscard]] IndexView const& index() const { return index_; }
    [[nodiscard]] FileView const& data() const { return data_; }
    // Why no slot of it can be told from the next; empty when they can, when there are no files yet
    // and when it is a half removed one.
    [[nodiscard]] std::string Damage() const;
    [[nodiscard]] bool HasChanged() const { return index_.file().HasChanged() || data_.HasChanged(); }
    void OpenAgain();
    // See IndexView.
    void KeepChained(std::size_t most) { index_.KeepChained(most); }

    // Whether this used slot is the one that the library answers from for its key: the first of a text key's chain that
    // holds the key, a number's own one. Others are wasted or, a number's, damaged.
    [[nodiscard]] bool Answers(std::uint64_t number, Slot const& slot) const;
    // The slot that the library would answer from; text keys as they stand in a slot.
    [[nodiscard]] IndexView::Search Find(std::string const& text_key) const { return index_.SearchFor(text_key); }

    using Decoder = std::function<std::string(RecordBytes)>;
    struct Look : torvane::Look {
        Slot slot;  // as it was read last
    };
    // Reads the record of slot `number`, which has been read as `slot`, and hands its bytes to `decode`, which may be
    // called several times: what cannot be decoded while somebody writes is looked at again, as by LookAtFile. A slot
    // that is gone then is busy. A key without data is not decoded.
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
