#pragma once

#include <string>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "storage/DLPCacheCodes.h"

namespace DLPCache {

class Index;

// A record store: byte records under integer keys (from 1) or text keys, in a data file that an index file tells apart.
// A text key is stored under its lower-case MD5. New records are appended to the data file; the space of a replaced one
// is not reclaimed. A key may also be present without data (offset -1, length 0).
//
// One store per pair of files: two would each take the end of the data file for theirs. Any thread may call. Each
// data-file read or write and each index operation is locked on its own, with no lock across an Add's look-up, write
// and index update: callers serialise their adding of one key. Nothing throws; failures return a negative StorageCode.
// Stores live as long as the process: the destructor leaves index and mutex allocated, for callers that are still
// inside.
class TORVANE_API Manager {
  public:
    // Calls Init, whose result shows in later codes.
    Manager(int bucketCount, HString const& indexPath, HString const& dataPath) noexcept;
    ~Manager();
    Manager(Manager const&) = delete;
    Manager& operator=(Manager const&) = delete;

    // 1: the index file exists and is left as it is; kDone: it was made; kInitFailed; kNoIndex without memory.
    int Init(int bucketCount, HString const& indexPath, HString const& dataPath) noexcept;

    // Slots in the index, cut to 32 bits; 0 without an index.
    [[nodiscard]] int GetIndexNumber() const noexcept;
    // The lower-case MD5 of the key; empty without memory.
    [[nodiscard]] std::string FormatIndexValue(HString const& key) const noexcept;

    // Stores a record of `len` bytes, or the key alone when `buf` is null or `len` is 0. 1: stored with data; kDone:
    // without; else kNoIndex, kStoreKeyRefused, kDataNotOpened, kDataNotWritten or a code of the index. An integer key
    // is replaced (in place when the record fits where the old one lies). A text key must not be present: adding it
    // again leaves a further slot behind, and Find keeps answering from the first one, with its offset and length.
    int Add(int key, unsigned char* buf, int len) const noexcept;
    int Add(HString const& key, unsigned char* buf, int len) const noexcept;

    // kFoundWithData: `buf` is a new array of `len` bytes that the caller frees with array delete; kFound: present
    // without data, `buf` is null; kDone: not present; else kNoIndex, kDataUnreadable or a code of the index. A `buf`
    // that is not null is freed first.
    [[nodiscard]] int Find(int key, unsigned char*& buf, int& len) const noexcept;
    [[nodiscard]] int Find(HString const& key, unsigned char*& buf, int& len) const noexcept;

    // Rewrites a record in place. kDone: done, or the key is not present; 1: present without data, nothing written;
    // else kNoIndex, kDataUnreadable (null `buf`, or another length than the stored one), kDataNotOpened,
    // kDataNotWritten or a code of the index.
    [[nodiscard]] int Update(int key, unsigned char* buf, int len) const noexcept;

    // Writes the bytes at `offset` (negative: at the end), then indexes them. 1, or as Add. Bytes at the end that the
    // index did not take are cut off again: who tries again and again does not fill the disk.
    [[nodiscard]] int AddCache(int key, long long offset, unsigned char* buf, int len) const noexcept;
    [[nodiscard]] int AddCache(std::string const& key, long long offset, unsigned char* buf, int len) const noexcept;

    // Writes bytes into the data file; a negative `offset` appends and becomes the place. kDone, kDataNotOpened,
    // kDataNotWritten.
    [[nodiscard]] int WriteCacheBuffer(long long& offset, unsigned char* buf, int len) const noexcept;
    // A new array of `len` bytes that the caller frees with array delete, or null.
    [[nodiscard]] unsigned char* ReadCacheBuffer(long long offset, int len) const noexcept;

    // Waits for the file operations under way and refuses every later one as if the files could not be opened, even
    // when they exist again by then: for an owner that deletes them while callers may still hold the store.
    void Retire() noexcept;

  private:
    template <class Key>
    [[nodiscard]] int WriteAndIndex(Key const& key, long long offset, unsigned char* buf, int len) const noexcept;
    // Cuts the data file's last record off, unless another one lies behind it by now.
    void TakeBack(long long offset, int len) const noexcept;

    HMutex* mutex_ = nullptr;  // one data-file read or write at a time; nothing else is locked under it but the log
    HString data_path_;
    Index* index_ = nullptr;
    bool retired_ = false;  // under mutex_
};

}  // namespace DLPCache
