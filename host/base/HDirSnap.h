#pragma once

#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"

// The entries of a directory at one moment. One object, one thread; nothing throws.
class TORVANE_API HDirSnap {
  public:
    // One of them.
    struct Entry {
        HString path;         // the directory given, a separator, the name
        bool is_dir = false;  // a directory itself, not a symbolic link to one
    };

    bool recursive = false;   // also the entries of subdirectories, never through a symbolic link
    bool directories = true;  // list directories, not files alone

    void set_file(HString const& directory) noexcept;  // of which; reads nothing yet, and keeps the last snapshot
    // Takes the snapshot, replacing an earlier one: sorted by path, without "." and "..". False (and no entries) when
    // the directory (or one below it, when recursive) cannot be read or none was set; a missing one is an empty
    // snapshot.
    [[nodiscard]] bool snap() noexcept;
    // What the last snapshot found.
    [[nodiscard]] std::vector<Entry> const& entries() const noexcept { return entries_; }

  private:
    HString directory_;
    std::vector<Entry> entries_;
};
