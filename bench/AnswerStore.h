#pragma once

#include <string>
#include <vector>

#include "bench/Answers.h"
#include "bench/RawCalls.h"
#include "bench/TempDir.h"
#include "host/base/HString.h"
#include "storage/DLPCacheIndex.h"
#include "storage/DLPCacheManager.h"

namespace bench {

inline constexpr int kBuckets = 500000;

// The library's own record store holding answers (bench/Answers.h), and what the raw calls need to know of its files.
class AnswerStore {
  public:
    // The one with all answers, made once for all rows.
    [[nodiscard]] static AnswerStore& Instance();
    explicit AnswerStore(std::size_t answers);

    [[nodiscard]] DLPCache::Manager const& manager() const { return manager_; }
    [[nodiscard]] DLPCache::Index const& index() const { return index_; }
    [[nodiscard]] std::string const& index_path() const { return index_path_; }
    [[nodiscard]] std::string const& data_path() const { return data_path_; }

    // An answer that lies in the first slot of its chain, as most do.
    struct First {
        std::size_t answer = 0;
        std::string index_key;  // what the index knows it by
        Place place;
    };
    // A hundred of them, scattered over the files: few enough that their keys stay in the processor's cache, as the
    // key of a file does that was just read.
    [[nodiscard]] std::vector<First> const& first() const { return first_; }

    // Each ends the program when anything but the expected comes back. `step` may be any number.
    void FindFirstSlot(std::size_t step) const;  // looks one of first() up in the index
    void ReadFirst(std::size_t step) const { Read(first_[step % first_.size()].answer); }
    void Read(std::size_t answer) const;
    void Miss(std::size_t step) const;
    void AddNew();  // an answer that was never added before

  private:
    void CollectFirst();

    TempDir directory_;
    std::string index_path_, data_path_;
    DLPCache::Manager manager_;
    DLPCache::Index index_;
    std::vector<HString> keys_, missing_keys_;
    std::vector<First> first_;
    std::size_t added_;
};

// The file offset of the first slot of a key, given as the index knows it.
[[nodiscard]] long long FirstSlotOf(DLPCache::Index const& index, std::string const& index_key, int buckets);

}  // namespace bench
