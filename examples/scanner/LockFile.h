#pragma once

#include <string>

namespace scanner {

// The lock that keeps two writing processes out of one root: an flock on <root>/scanner.lock, outside the cache, which
// may be wiped. Held as long as the object; the kernel gives it back when the process dies. The file stays.
class LockFile {
  public:
    // Makes the root when it is missing. Throws std::runtime_error when another process holds the lock or the file
    // cannot be opened.
    explicit LockFile(std::string const& root);
    ~LockFile();
    LockFile(LockFile const&) = delete;
    LockFile& operator=(LockFile const&) = delete;

  private:
    int fd_ = -1;
};

}  // namespace scanner
