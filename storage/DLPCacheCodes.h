#pragma once

namespace DLPCache {

// What the storage layer returns. Caches above pass the negative codes on.
enum StorageCode : int {
    kFoundWithData = 2,     // Manager::Find: found, with data
    kFound = 1,             // Index::Find: found; Manager::Find: found without data
    kDone = 0,              // done; for look-ups: not present
    kInitFailed = -1,       // Index::Init: the file could not be made
    kIndexMissing = -3,     // the index file does not exist
    kIndexNotOpened = -5,   // the index file could not be opened
    kDataNotOpened = -6,    // the data file could not be opened for writing
    kSlotUnreadable = -7,   // Find: a text key's slot could not be read whole, or an integer key's slot holds another
                            // key with a chain behind it
    kSlotNotWritten = -9,   // a slot could not be written
    kDataNotWritten = -10,  // the data could not be written
    kHeadInvalid = -11,     // the head is not a valid index head
    kPositionUnreachable = -12,  // file too short, head unreadable, a position out of reach, or an integer key's slot
                                 // holds another key
    kDataUnreadable =
        -13,            // Find: the data could not be read; Update: no buffer, or another length than the stored one
    kKeyRefused = -14,  // a text key whose length is not 32, or an integer key below 1
    kNoIndex = -15,     // the store has no index
    kStoreKeyRefused = -16,  // Manager::Add: integer key below 1, or a text key without a 32-character MD5
};

}  // namespace DLPCache
