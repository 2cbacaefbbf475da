#pragma once

#include <string>

#include "examples/scanner/LockFile.h"
#include "examples/scanner/Options.h"

namespace scanner {

// The root directory that this process works below, and its lock for as long as the object lives. Made before the first
// use of a cache.
class Root {
  public:
    enum class Use {
        kToScan,          // the root is made when it is missing
        kOfEarlierScans,  // something was scanned below it; the definitions of the last scan are put in force
    };

    // Puts the root of the command line in force. Throws std::runtime_error when another process works below it;
    // without an earlier scan, or when its definitions are damaged, where they are needed (no directory is made then).
    explicit Root(Options const& options, Use use = Use::kToScan);

    [[nodiscard]] std::string const& path() const { return path_; }

  private:
    std::string path_;
    LockFile lock_;
};

}  // namespace scanner
