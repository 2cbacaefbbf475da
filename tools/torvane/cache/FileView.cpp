#include "tools/torvane/cache/FileView.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

int OpenQuietly(char const* path) {
    // Only the owner of a file may leave its access time alone.
    int const fd = ::open(path, kFlags | O_NOATIME);
    return fd < 0 && errno == EPERM ? ::open(path, kFlags) : fd;
}

FileView::State StateOf(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return FileView::State::kMissing;
        case ELOOP:
        case ENXIO:
            return FileView::State::kForeign;
        default:
            return FileView::State::kUnreadable;
    }
}

bool IsSame(struct timespec const& a, struct timespec const& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace

FileView::FileView(std::string path) : path_(std::move(path)) {
    // Looked at first: to open a device or a FIFO may do something.
    if (::lstat(path_.c_str(), &status_) == 0 && !S_ISREG(status_.st_mode)) {
        state_ = State::kForeign;
        return;
    }
    fd_ = OpenQuietly(path_.c_str());
    if (fd_ < 0 || ::fstat(fd_, &status_) != 0) {
        error_ = errno;
        state_ = StateOf(error_);
        return;
    }
    state_ = S_ISREG(status_.st_mode) ? State::kOpen : State::kForeign;
    if (state_ == State::kOpen) size_ = static_cast<std::uint64_t>(status_.st_size);
}

FileView::~FileView() {
    if (fd_ >= 0) ::close(fd_);
}

FileView::FileView(FileView&& other) noexcept
    : path_(std::move(other.path_)),
      state_(std::exchange(other.state_, State::kMissing)),
      error_(std::exchange(other.error_, 0)),
      fd_(std::exchange(other.fd_, -1)),
      size_(std::exchange(other.size_, 0)),
      status_(other.status_) {}

FileView& FileView::operator=(FileView&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(state_, other.state_);
    std::swap(error_, other.error_);
    std::swap(fd_, other.fd_);
    std::swap(size_, other.size_);
    std::swap(status_, other.status_);
    return *this;
}

std::size_t FileView::ReadAt(std::uint64_t position, std::span<std::uint8_t> bytes) const {
    std::size_t done = 0;
    while (fd_ >= 0 && done < bytes.size()) {
        ssize_t const got = ::pread(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(position + done));
        if (got == 0) break;
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            throw Stop(ExitStatus::kIo, "cannot read " + path_ + ": " + std::strerror(errno));
        }
    }
    return done;
}

std::uint64_t FileView::SizeNow() const {
    struct stat now {};
    if (fd_ < 0 || ::fstat(fd_, &now) != 0) return 0;
    return static_cast<std::uint64_t>(now.st_size);
}

bool FileView::HasChanged() const {
    struct stat now {};
    if (::lstat(path_.c_str(), &now) != 0) return state_ != State::kMissing;
    if (state_ == State::kMissing) return true;
    return now.st_dev != status_.st_dev || now.st_ino != status_.st_ino || now.st_size != status_.st_size ||
           !IsSame(now.st_mtim, status_.st_mtim) || !IsSame(now.st_ctim, status_.st_ctim);
}

void FileView::RequireReadable() const {
    if (state_ != State::kUnreadable) return;
    throw Stop(ExitStatus::kIo, "cannot read " + path_ + ": " + std::strerror(error_));
}

std::uint64_t SizeOfFile(std::string const& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        return S_ISREG(status.st_mode) ? static_cast<std::uint64_t>(status.st_size) : 0;
    }
    if (errno == ENOENT || errno == ENOTDIR) return 0;
    throw Stop(ExitStatus::kIo, "cannot look at " + path + ": " + std::strerror(errno));
}

}  // namespace torvane
