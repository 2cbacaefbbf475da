#include <memory>
#include <unordered_set>

#include "bench/AnswerStore.h"
#include "bench/Duel.h"
#include "bench/Require.h"
#include "bench/rows/Rows.h"

namespace bench {
namespace {

void RawRead(AnswerStore const& store, std::size_t i) {
    AnswerStore::First const& first = store.first()[i % store.first().size()];
    char bytes[kValueBytes];
    RawFind(store.index_path(), store.data_path(), first.place, bytes);
    Require(IsValueOf(first.answer, {bytes, sizeof bytes}), "raw calls: an answer came back changed");
}

// Both sides hold what they read against the answer.
Round FindRecord() {
    AnswerStore const& store = AnswerStore::Instance();
    return Duel(Repeat([&store](std::size_t i) { store.ReadFirst(i); }),
                Repeat([&store](std::size_t i) { RawRead(store, i); }));
}

// Two empty stores, one for the library and one for raw calls, and new keys of which each has a chain of its own.
class NewKeys {
  public:
    static constexpr std::size_t kPerBlock = 50;
    static constexpr int kRounds = 201;

    NewKeys()
        : manager_(kBuckets, HString(ours_.File("index")), HString(ours_.File("cache"))),
          raw_index_path_(raw_.File("index")),
          raw_data_path_(raw_.File("cache")) {
        Require(DLPCache::Index(HString(raw_index_path_)).Init(kBuckets) == DLPCache::kDone, "Index::Init failed");
        RawWriteZeros(raw_data_path_, 0);
        PickKeys();
    }

    void Add(std::size_t i) {
        Require(manager_.Add(keys_.at(i).key, reinterpret_cast<unsigned char*>(value_.data()), kValueBytes) == 1,
                "Manager::Add failed");
    }
    void RawCalls(std::size_t i) {
        RawAdd(raw_index_path_, raw_data_path_, keys_.at(i).slot, value_.data(), value_.size());
    }

  private:
    struct NewKey {
        HString key;
        long long slot = 0;
    };

    void PickKeys() {
        std::unordered_set<long long> taken;
        DLPCache::Index const index{HString(raw_index_path_)};
        for (std::size_t i = 0; keys_.size() < 2 * kPerBlock * (kRounds + 2); ++i) {
            HString const key(KeyOf(i));
            long long const slot = FirstSlotOf(index, manager_.FormatIndexValue(key), kBuckets);
            if (slot > 0 && taken.insert(slot).second) keys_.push_back({key, slot});
        }
    }

    TempDir ours_, raw_;
    DLPCache::Manager manager_;
    std::string raw_index_path_, raw_data_path_;
    std::vector<NewKey> keys_;
    Value value_ = ValueOf(0);
};

Round AddRecord() {
    auto const keys = std::make_shared<NewKeys>();
    return Duel(Repeat([keys](std::size_t i) { keys->Add(i); }, NewKeys::kPerBlock),
                Repeat([keys](std::size_t i) { keys->RawCalls(i); }, NewKeys::kPerBlock));
}

}  // namespace

void AddManagerRows() {
    AddRow({"manager/find", "Manager::Find, 300-byte record", "its seven calls", Target::kAtMost, 1.25}, 251,
           FindRecord);
    AddRow({"manager/add", "Manager::Add, new key", "its thirteen calls", Target::kAtMost, 1.25}, NewKeys::kRounds,
           AddRecord);
}

}  // namespace bench
