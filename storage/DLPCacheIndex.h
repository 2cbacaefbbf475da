#pragma once

#include <string>

#include "host/base/Export.h"
#include "host/base/HMutex.h"
#include "host/base/HString.h"
#include "storage/DLPCacheCodes.h"
#include "storage/DLPCacheIndexFormat.h"

namespace DLPCache {

// A hash index in a file: maps a key to the offset and length of a record in a data file that it knows nothing of. Text
// keys have exactly 32 characters and are hashed into the head's buckets, collisions chained through slots appended at
// the file's end; integer key k, from 1, is slot k. The callers of one file use one kind of key.
//
// Each operation opens the file, does its work and closes it: the file is always the truth. Operations of one object
// exclude each other; two objects on one path do not, so there is one per file. Any thread may call; nothing throws;
// failures return a negative StorageCode and, but where noted, write an assertion line.
class TORVANE_API Index {
  public:
    explicit Index(HString const& path) noexcept : path_(path) {}  // of the index file; touches nothing
    Index(Index const&) = delete;
    Index& operator=(Index const&) = delete;

    // Makes the file anew with `bucketCount` empty slots (below 5000001; 0 or less: the head alone). It is built under
    // a temporary name and renamed, after an existing file was deleted. kDone or kInitFailed. Takes no lock: for use
    // while the store is being set up.
    [[nodiscard]] int Init(int bucketCount) const noexcept;

    // kFound with `offset` and `length` set, kDone when the key is not in the index, or kIndexMissing, kIndexNotOpened,
    // kSlotUnreadable, kHeadInvalid, kPositionUnreachable, kKeyRefused. A text key whose hash is a multiple of the
    // bucket count gives kPositionUnreachable.
    [[nodiscard]] int Find(std::string const& key, long long& offset, int& length) const noexcept;
    [[nodiscard]] int Find(int key, long long& offset, int& length) const noexcept;

    // kDone, or kIndexMissing, kIndexNotOpened, kSlotNotWritten, kHeadInvalid, kPositionUnreachable, kKeyRefused. A
    // text key that is present is not replaced: a further slot is added and Find keeps answering from the first. An
    // integer key's slot is overwritten in place; the table grows by one slot when the key is the next one.
    [[nodiscard]] int Add(std::string const& key, long long offset, int length) const noexcept;
    [[nodiscard]] int Add(int key, long long offset, int length) const noexcept;

    // Slots in the file: (its length - 27) / 57, unsigned. Meaningless for a missing or truncated file or after Retire.
    [[nodiscard]] unsigned long long GetNumber() const noexcept;

    // Waits for the operation under way; every later one finds the file unopenable, whoever makes it anew. Its owner
    // has given the file up and may delete it.
    void Retire() noexcept;

    // Whether the head is that of an index file: tag, both formats, a bucket count below the limit.
    [[nodiscard]] bool CheckIndexHead(IndexHead const& head) const noexcept;
    // File offset of the key's first slot. A text key of bucket 0 gives -30, before the table: kept, so that existing
    // files stay readable; positioning there fails. So does a bucket count of 0 (-30 as well).
    [[nodiscard]] long long GetFirstKeyOffset(int key, IndexHead const& head) const noexcept;
    [[nodiscard]] long long GetFirstKeyOffset(std::string const& key, IndexHead const& head) const noexcept;
    // Writes the decimal text of the key into the slot.
    void FormatIndexKey(IndexKey& slot, int key) const noexcept;
    // Whether the slot holds the key.
    [[nodiscard]] bool IsMatchIndexKey(IndexKey const& slot, int key) const noexcept;

  private:
    // The errno of opening the file.
    template <class File>
    [[nodiscard]] int Open(File& file) const noexcept;

    HString path_;
    mutable HMutex mutex_;  // one operation on the file at a time; held for its whole run, nothing else is locked under
                            // it but the log
    bool retired_ = false;  // under mutex_
};

}  // namespace DLPCache
