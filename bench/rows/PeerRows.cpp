#include <array>
#include <cctype>
#include <memory>
#include <string>

#include "bench/AnswerStore.h"
#include "bench/Duel.h"
#include "bench/Require.h"
#include "bench/peers/Store.h"
#include "bench/rows/Rows.h"

namespace bench {
namespace {

enum class Operate { kHit, kMiss, kNew };
enum class Keep { kPerOperation, kOpen };

constexpr int kRounds = 21;

// One kind of store, filled when first asked for, once for each set of flags.
class Peer {
  public:
    explicit Peer(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {}

    [[nodiscard]] std::string Name() const { return engine_->Name(); }
    [[nodiscard]] std::unique_ptr<Store> Open(Flags flags, Operate operate) {
        std::unique_ptr<TempDir>& directory = directories_.at(static_cast<std::size_t>(flags));
        if (!directory) {
            directory = std::make_unique<TempDir>();
            engine_->Fill(directory->path(), flags, kAnswers);
        }
        return engine_->Open(directory->path(), flags, operate == Operate::kNew ? Access::kWrite : Access::kRead);
    }
    // A number that no answer had before.
    [[nodiscard]] std::size_t NextNew() { return next_new_++; }

  private:
    std::unique_ptr<Engine> engine_;
    std::array<std::unique_ptr<TempDir>, 2> directories_;
    std::size_t next_new_ = kAnswers;
};

// Keys as the callers of these stores have them, made beforehand like those of ours.
class TextKeys {
  public:
    [[nodiscard]] static TextKeys const& Instance() {
        static TextKeys const keys;
        return keys;
    }
    [[nodiscard]] std::string const& Key(std::size_t i) const { return keys_[i]; }
    [[nodiscard]] std::string const& MissingKey(std::size_t i) const { return missing_[i % missing_.size()]; }

  private:
    TextKeys() {
        for (std::size_t i = 0; i < kAnswers; ++i)
            keys_.push_back(KeyOf(i));
        for (std::size_t i = 0; i < kMissingKeys; ++i)
            missing_.push_back(MissingKeyOf(i));
    }

    std::vector<std::string> keys_, missing_;
};

void DoHit(Store& store, std::size_t i, std::string& value) {
    bool const found = store.Get(TextKeys::Instance().Key(i), value);
    Require(found && IsValueOf(i, value), "an answer was not found in the other store");
}
void DoMiss(Store& store, std::size_t step, std::string& value) {
    Require(!store.Get(TextKeys::Instance().MissingKey(step), value), "a missing key was found");
}

void Do(Operate operate, Peer& peer, Store& store, std::size_t step) {
    std::string value;
    switch (operate) {
        case Operate::kHit:
            return DoHit(store, Scattered(step), value);
        case Operate::kMiss:
            return DoMiss(store, step, value);
        case Operate::kNew:
            break;
    }
    std::size_t const i = peer.NextNew();
    Value const bytes = ValueOf(i);
    store.Put(KeyOf(i), {bytes.data(), bytes.size()});
}

Side PeerSide(std::shared_ptr<Peer> const& peer, Operate operate, Keep keep, Flags flags) {
    if (keep == Keep::kPerOperation) {
        return Repeat([=](std::size_t step) { Do(operate, *peer, *peer->Open(flags, operate), step); });
    }
    std::shared_ptr<Store> const store = peer->Open(flags, operate);
    return Repeat([=](std::size_t step) { Do(operate, *peer, *store, step); });
}

Side OurSide(Operate operate) {
    AnswerStore& store = AnswerStore::Instance();
    switch (operate) {
        case Operate::kHit:
            return Repeat([&store](std::size_t step) { store.Read(Scattered(step)); });
        case Operate::kMiss:
            return Repeat([&store](std::size_t step) { store.Miss(step); });
        case Operate::kNew:
            break;
    }
    return Repeat([&store](std::size_t) { store.AddNew(); });
}

struct Mode {
    char const* name;
    char const* text;
    Keep keep;
    Flags flags;
};
constexpr Mode kModes[] = {
    {"default", "opened per operation", Keep::kPerOperation, Flags::kDefault},
    {"fast", "opened per operation, fastest flags", Keep::kPerOperation, Flags::kFast},
    {"open", "kept open", Keep::kOpen, Flags::kDefault},
};

struct Kind {
    char const* name;
    char const* text;
    Operate operate;
};
constexpr Kind kKinds[] = {
    {"hit", "hit", Operate::kHit}, {"miss", "miss", Operate::kMiss}, {"new", "new key", Operate::kNew}};

// New keys are for the record: by default some of the others also wait for the disk, which ours never does.
void SetTarget(Row& row, Mode const& mode, Operate operate, std::string const& peer) {
    row.target = Target::kNone;
    if (operate == Operate::kNew) return;
    if (mode.keep == Keep::kPerOperation) {
        row.target = mode.flags == Flags::kDefault ? Target::kAtLeast : Target::kMoreThan;
        row.limit = mode.flags == Flags::kDefault ? 4 : 1;
    } else if (operate == Operate::kHit && (peer == "SQLite" || peer == "RocksDB")) {
        row.target = Target::kMoreThan;
        row.limit = 1;
    }
}

std::string LowerCase(std::string text) {
    for (char& letter : text)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
}

void AddRowsOf(std::shared_ptr<Peer> const& peer) {
    for (Mode const& mode : kModes) {
        for (Kind const& kind : kKinds) {
            Row row;
            row.name = "peers/" + LowerCase(peer->Name()) + "/" + mode.name + "/" + kind.name;
            row.what = std::string(kind.text) + ", against " + peer->Name() + " " + mode.text;
            row.other = peer->Name();
            SetTarget(row, mode, kind.operate, peer->Name());
            AddRow(row, kRounds, [peer, &mode, &kind] {
                return Duel(OurSide(kind.operate), PeerSide(peer, kind.operate, mode.keep, mode.flags));
            });
        }
    }
}

}  // namespace

void AddPeerRows() {
    for (std::unique_ptr<Engine>& engine : Engines())
        AddRowsOf(std::make_shared<Peer>(std::move(engine)));
}

}  // namespace bench
