#include "examples/scanner/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace scanner {
namespace {

constexpr std::size_t kFirstCapacity = std::size_t{256} << 10;

}  // namespace

ReadStatus FileReader::Read(std::string const& path) {
    length_ = 0;
    error_ = 0;
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (fd < 0) return Failed();
    ReadStatus const status = ReadOpen(fd);
    ::close(fd);
    return status;
}

ReadStatus FileReader::Failed() {
    error_ = errno;
    return ReadStatus::kFailed;
}

ReadStatus FileReader::ReadOpen(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) return Failed();
    if (!S_ISREG(status.st_mode)) return ReadStatus::kNotRegular;
    auto const size = static_cast<std::uint64_t>(status.st_size);
    if (size > most_bytes_) return ReadStatus::kTooLarge;
    return ReadToEnd(fd, static_cast<std::size_t>(size));
}

// Asks for one byte more than the file should have: the short read that comes back is its end. A file that has grown
// since is read on.
ReadStatus FileReader::ReadToEnd(int fd, std::size_t expected) {
    Reserve(expected + 1);
    while (true) {
        ssize_t const got = ::read(fd, buffer_.get() + length_, capacity_ - length_);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return Failed();
        length_ += static_cast<std::size_t>(got);
        if (got == 0 || length_ == expected) return ReadStatus::kRead;
        if (length_ > most_bytes_) return ReadStatus::kTooLarge;
        if (length_ == capacity_) Reserve(capacity_ * 2);
    }
}

void FileReader::Reserve(std::size_t capacity) {
    if (capacity <= capacity_) return;
    capacity = std::max(capacity, std::max(kFirstCapacity, capacity_ * 2));
    std::unique_ptr<char[]> larger(new char[capacity]);
    if (length_ > 0) std::memcpy(larger.get(), buffer_.get(), length_);
    buffer_ = std::move(larger);
    capacity_ = capacity;
}

}  // namespace scanner
