#pragma once

namespace DLPCache {

// What a task's store and writer answer; they pass the negative codes of the record store on
// (storage/DLPCacheCodes.h), two of which have the value of a code below. From Find -13 is kTaskTplGone when the file
// is filled, and the store's kDataUnreadable when its path is empty. From Add -15 is the store's kNoIndex only for a
// file that has template ids, a path and an MD5; from Find it is always that.
enum TaskCode : int {
    kTaskFileFound = 2,         // Find: found, and every template of it is in the task's definitions
    kTaskFileEmpty = 1,         // Find: present without data
    kTaskFileStored = 1,        // Add: stored, or queued
    kTaskFileAbsent = 0,        // Find: not present
    kTaskNoStore = -2,          // the task has no record store
    kTaskTplGone = -13,         // Find: found and filled, but a template is not in the task's definitions
    kTaskFileRefused = -15,     // Add: no template ids, no path, or no MD5
    kTaskFileNotEncoded = -17,  // Add: the file could not be encoded
    kTaskFileNotDecoded = -18,  // Find: the stored bytes could not be decoded
};

}  // namespace DLPCache
