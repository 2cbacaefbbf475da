#include "host/base/HFileBase.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "host/base/Descriptor.h"
#include "host/base/NarrowPath.h"

namespace {

constexpr long long kZeroPiece = 64 * 1024;

// Never written, so that the kernel backs it with one page of zeros and the cache holds it.
alignas(4096) char zeros[kZeroPiece];

}  // namespace

int HFileBase::open_file(HString const& path, int flags) noexcept {
    (void)closex();
    Varnok::NarrowPath narrow(path);
    if (narrow.Error() != 0) return narrow.Error();
    if ((flags & O_CREAT) == 0) return Varnok::OpenExisting(narrow.Text(), flags, fd_);
    return Varnok::OpenOrMake(narrow.Text(), flags & ~O_CREAT, fd_);
}

long long HFileBase::read(void* buf, long long n) noexcept {
    if (n <= 0 || get_current_pointer() < 0) return 0;
    std::size_t moved = 0;
    (void)Varnok::ReadAt(fd_, buf, static_cast<std::size_t>(n), position_, moved);
    position_ += static_cast<long long>(moved);
    return static_cast<long long>(moved);
}

int HFileBase::write(void const* buf, long long n) noexcept {
    if (n < 0) return EINVAL;
    if (position_ == kAtEnd) {
        if (int const unknown = set_pointer_to_end(); unknown != 0) return unknown;
    }
    int const error = Varnok::WriteAt(fd_, buf, static_cast<std::size_t>(n), position_);
    if (error == 0) position_ += n;
    return error;
}

int HFileBase::write_zeros(long long n) noexcept {
    int error = n < 0 ? EINVAL : 0;
    while (error == 0 && n > 0) {
        long long const piece = std::min(n, kZeroPiece);
        error = write(zeros, piece);
        n -= piece;
    }
    return error;
}

int HFileBase::set_pointer(long long position) noexcept {
    if (position < 0) return EINVAL;
    position_ = position;
    return 0;
}

int HFileBase::set_pointer_to_end() noexcept {
    off_t const end = ::lseek(fd_, 0, SEEK_END);
    if (end < 0) return errno;
    position_ = end;
    return 0;
}

long long HFileBase::get_current_pointer() noexcept {
    if (position_ == kAtEnd) (void)set_pointer_to_end();
    return position_;
}

long long HFileBase::get_now_size() const noexcept {
    struct stat status {};
    return ::fstat(fd_, &status) == 0 ? status.st_size : -1;
}

int HFileBase::cut_off(long long size) noexcept {
    while (::ftruncate(fd_, size) != 0) {
        if (errno != EINTR) return errno;
    }
    return 0;
}

int HFileBase::closex() noexcept {
    position_ = 0;
    return Varnok::Descriptor(std::exchange(fd_, -1)).Close();
}
