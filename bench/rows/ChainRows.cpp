#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <string>
#include <utility>

#include "bench/AnswerStore.h"
#include "bench/Answers.h"
#include "bench/Duel.h"
#include "bench/RawCalls.h"
#include "bench/Require.h"
#include "bench/TempDir.h"
#include "bench/rows/Rows.h"
#include "storage/DLPCacheIndex.h"

namespace bench {
namespace {

using DLPCache::IndexHead;
using DLPCache::IndexKey;

constexpr int kChain = 10000;     // slots
constexpr int kChainBuckets = 2;  // one takes all keys, the other (0) none

// An index whose keys all lie in one chain, made by the library.
class LongChain {
  public:
    LongChain() : path_(directory_.File("index")), index_(HString(path_)) {
        Require(index_.Init(kChainBuckets) == DLPCache::kDone, "Index::Init failed");
        for (int added = 0; added < kChain; ++added) {
            last_key_ = NextKey();
            Require(index_.Add(last_key_, added, 300) == DLPCache::kDone, "Index::Add failed");
        }
        end_ = static_cast<long long>(IndexHead::kSize + (kChain + 1) * IndexKey::kSize);
        new_key_ = NextKey();
        fd_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
        Require(
            ::pread(fd_, last_slot_.data(), last_slot_.size(), LastSlot()) == static_cast<ssize_t>(last_slot_.size()) &&
                ::lseek(fd_, 0, SEEK_END) == end_,
            "the chain is not as it should be");
    }
    ~LongChain() { ::close(fd_); }
    LongChain(LongChain const&) = delete;
    LongChain& operator=(LongChain const&) = delete;

    void FindLast() const {
        long long offset = 0;
        int length = 0;
        Require(index_.Find(last_key_, offset, length) == DLPCache::kFound && offset == kChain - 1,
                "Index::Find failed");
    }
    void AddOne() const { Require(index_.Add(new_key_, kChain, 300) == DLPCache::kDone, "Index::Add failed"); }
    // Takes the slot that was added off again.
    void Restore() const {
        Require(::lseek(fd_, 0, SEEK_END) > end_ && ::ftruncate(fd_, end_) == 0 &&
                    ::pwrite(fd_, last_slot_.data(), last_slot_.size(), LastSlot()) ==
                        static_cast<ssize_t>(last_slot_.size()),
                "the chain could not be restored");
    }
    void RawRead() const { RawReadBlocks(path_, 0, end_); }

  private:
    [[nodiscard]] long long LastSlot() const { return end_ - static_cast<long long>(IndexKey::kSize); }
    // The next key of bucket 1.
    std::string NextKey() {
        for (;;) {
            std::string key = KeyOf(next_++);
            if (FirstSlotOf(index_, key, kChainBuckets) > 0) return key;
        }
    }

    TempDir directory_;
    std::string path_;
    DLPCache::Index index_;
    std::uint64_t next_ = 0;
    std::string last_key_, new_key_;
    long long end_ = 0;
    std::array<char, IndexKey::kSize> last_slot_{};
    int fd_ = -1;
};

constexpr std::size_t kPerBlock = 5;

Side RawSide(std::shared_ptr<LongChain> chain) {
    return OneByOne([chain = std::move(chain)](std::size_t) { chain->RawRead(); }, [] {}, kPerBlock);
}

Round FindAtEnd() {
    auto const chain = std::make_shared<LongChain>();
    return Duel(OneByOne([chain](std::size_t) { chain->FindLast(); }, [] {}, kPerBlock), RawSide(chain));
}

Round AddAtEnd() {
    auto const chain = std::make_shared<LongChain>();
    return Duel(OneByOne([chain](std::size_t) { chain->AddOne(); }, [chain] { chain->Restore(); }, kPerBlock),
                RawSide(chain));
}

}  // namespace

void AddChainRows() {
    AddRow({"chain/find", "Index::Find at the end of a chain of 10,000", "the same bytes in 64 KiB reads",
            Target::kAtMost, 3},
           101, FindAtEnd);
    AddRow({"chain/add", "Index::Add at the end of a chain of 10,000", "the same bytes in 64 KiB reads",
            Target::kAtMost, 3},
           101, AddAtEnd);
}

}  // namespace bench
