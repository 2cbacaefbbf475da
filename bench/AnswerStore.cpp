#include "bench/AnswerStore.h"

#include <algorithm>
#include <memory>
#include <unordered_set>

#include "bench/Require.h"

namespace bench {
namespace {

constexpr std::size_t kFirst = 100;

// An answer whose key falls into the one bucket that takes no key.
bool IsUnstorable(int result) {
    return result == DLPCache::kPositionUnreachable;
}

}  // namespace

long long FirstSlotOf(DLPCache::Index const& index, std::string const& index_key, int buckets) {
    DLPCache::IndexHead head;
    head.bucket_count = buckets;
    return index.GetFirstKeyOffset(index_key, head);
}

AnswerStore& AnswerStore::Instance() {
    static AnswerStore store(kAnswers);
    return store;
}

AnswerStore::AnswerStore(std::size_t answers)
    : index_path_(directory_.File("index")),
      data_path_(directory_.File("cache")),
      manager_(kBuckets, HString(index_path_), HString(data_path_)),
      index_(HString(index_path_)),
      added_(answers) {
    for (std::size_t i = 0; i < answers; ++i) {
        Value value = ValueOf(i);
        keys_.emplace_back(KeyOf(i));
        int const added = manager_.Add(keys_[i], reinterpret_cast<unsigned char*>(value.data()), kValueBytes);
        Require(added == 1 || IsUnstorable(added), "the answers could not be stored");
    }
    for (std::size_t i = 0; i < kMissingKeys; ++i)
        missing_keys_.emplace_back(MissingKeyOf(i));
    CollectFirst();
}

void AnswerStore::CollectFirst() {
    std::unordered_set<long long> taken;
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        std::string const index_key = manager_.FormatIndexValue(keys_[i]);
        long long const slot = FirstSlotOf(index_, index_key, kBuckets);
        if (!taken.insert(slot).second) continue;  // an earlier answer has the chain's first slot
        long long offset = 0;
        int length = 0;
        if (index_.Find(index_key, offset, length) != DLPCache::kFound) continue;
        first_.push_back({i, index_key, {slot, offset, static_cast<std::size_t>(length)}});
    }
    for (std::size_t i = 0; i < first_.size(); ++i)
        std::swap(first_[i], first_[Scattered(i + 1) % first_.size()]);
    if (first_.size() > kFirst) first_.resize(kFirst);
}

void AnswerStore::FindFirstSlot(std::size_t step) const {
    First const& first = first_[step % first_.size()];
    long long offset = 0;
    int length = 0;
    int const found = index_.Find(first.index_key, offset, length);
    Require(found == DLPCache::kFound && offset == first.place.offset, "Index::Find failed");
}

void AnswerStore::Read(std::size_t answer) const {
    unsigned char* bytes = nullptr;
    int length = 0;
    int const found = manager_.Find(keys_[answer], bytes, length);
    std::unique_ptr<unsigned char[]> const owned(bytes);
    if (IsUnstorable(found)) return;
    Require(found == DLPCache::kFoundWithData, "an answer was not found");
    Require(IsValueOf(answer, {reinterpret_cast<char const*>(bytes), static_cast<std::size_t>(length)}),
            "an answer came back changed");
}

void AnswerStore::Miss(std::size_t step) const {
    unsigned char* bytes = nullptr;
    int length = 0;
    int const found = manager_.Find(missing_keys_[step % missing_keys_.size()], bytes, length);
    Require(found == DLPCache::kDone || IsUnstorable(found), "a key that is missing was found");
}

void AnswerStore::AddNew() {
    std::size_t const i = added_++;
    Value value = ValueOf(i);
    int const added = manager_.Add(HString(KeyOf(i)), reinterpret_cast<unsigned char*>(value.data()), kValueBytes);
    Require(added == 1 || IsUnstorable(added), "a new answer could not be stored");
}

}  // namespace bench
