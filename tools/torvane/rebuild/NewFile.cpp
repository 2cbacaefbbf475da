#include "tools/torvane/rebuild/NewFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

constexpr mode_t kMode = 0600;

[[noreturn]] void CannotWrite(std::string const& path) {
    throw Stop(ExitStatus::kIo, "cannot write " + path + ": " + std::strerror(errno));
}

}  // namespace

NewFile::NewFile(std::string const& path)
    : path_(path), fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kMode)) {
    if (fd_ < 0) CannotWrite(path_);
    if (::fchmod(fd_, kMode) == 0) return;
    int const error = errno;
    ::close(fd_);
    errno = error;
    CannotWrite(path_);
}

NewFile::~NewFile() {
    if (fd_ >= 0) ::close(fd_);
}

void NewFile::Write(std::uint8_t const* bytes, std::size_t length) {
    while (length > 0) {
        ssize_t const written = ::write(fd_, bytes, length);
        if (written < 0 && errno != EINTR) CannotWrite(path_);
        if (written <= 0) continue;
        bytes += written;
        length -= static_cast<std::size_t>(written);
    }
}

void NewFile::SetModified(struct timespec const& when) {
    struct timespec const times[] = {{0, UTIME_OMIT}, when};
    if (::futimens(fd_, times) != 0) CannotWrite(path_);
}

void NewFile::Close() {
    int const fd = std::exchange(fd_, -1);
    if (::close(fd) != 0) CannotWrite(path_);
}

}  // namespace torvane
