#include "examples/scanner/LockFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "host/base/HFile.h"

namespace scanner {

LockFile::LockFile(std::string const& root) {
    std::string const path = root + "/scanner.lock";
    if (!Varnok::MakeDir(HString(root))) throw std::runtime_error("cannot make the root directory " + root);
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd_ < 0) throw std::runtime_error(path + ": " + std::strerror(errno));
    if (::flock(fd_, LOCK_EX | LOCK_NB) == 0) return;
    int const error = errno;
    ::close(fd_);
    if (error == EWOULDBLOCK)
        throw std::runtime_error("another process works below " + root + " (" + path + " is locked)");
    throw std::runtime_error(path + ": " + std::strerror(error));
}

LockFile::~LockFile() {
    ::close(fd_);
}

}  // namespace scanner
