#pragma once

namespace DLPCache {

// What a found-times store answers; it passes the negative codes of its record store on (storage/DLPCacheCodes.h).
enum SensRecordCode : int {
    kSensRecordFound = 2,         // Find: found
    kSensRecordEmpty = 1,         // Find: present without data
    kSensRecordStored = 1,        // Add: stored
    kSensRecordAbsent = 0,        // Find: not present
    kSensRecordNoStore = -2,      // no store is open
    kSensRecordNotEncoded = -17,  // Add: the record could not be encoded
    kSensRecordNotDecoded = -18,  // Find: the stored bytes could not be decoded
};

}  // namespace DLPCache
