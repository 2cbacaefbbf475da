#pragma once

namespace DLPCache {

// What a text cache answers.
enum TextCode : int {
    kTextFound = 2,          // Find
    kTextStored = 1,         // Add, WriteArcCache
    kTextMissing = -4,       // Find: the directory or the file does not exist
    kTextUnreadable = -13,   // Find: what was read is not worth keeping, or could not be read
    kTextNotKeepable = -15,  // Add: not worth keeping, nothing was written
};

}  // namespace DLPCache
