#include "bench/RawCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "bench/Require.h"
#include "storage/DLPCacheIndexFormat.h"

namespace bench {
namespace {

using DLPCache::IndexHead;
using DLPCache::IndexKey;

constexpr int kOpenFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;  // the library's own
constexpr std::size_t kBlock = std::size_t{64} << 10;

int Open(std::string const& path, int flags) {
    int const fd = ::open(path.c_str(), flags | kOpenFlags, 0600);
    Require(fd >= 0, "raw calls: open failed");
    return fd;
}

void Read(int fd, char* bytes, std::size_t length, long long offset) {
    Require(::pread(fd, bytes, length, offset) == static_cast<ssize_t>(length), "raw calls: read failed");
}

void Close(int fd) {
    Require(::close(fd) == 0, "raw calls: close failed");
}

void ReadHeadAndSlot(int fd, long long slot) {
    char bytes[IndexKey::kSize];
    Read(fd, bytes, IndexHead::kSize, 0);
    Read(fd, bytes, IndexKey::kSize, slot);
}

long long SizeOf(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 ? status.st_size : -1;
}

void WriteSlot(std::string const& path, long long slot) {
    char bytes[IndexKey::kSize] = "written by raw calls";
    int const fd = Open(path, O_RDWR);
    ReadHeadAndSlot(fd, slot);
    Require(::pwrite(fd, bytes, sizeof bytes, slot) == sizeof bytes, "raw calls: slot write failed");
    Close(fd);
}

void Append(std::string const& path, char const* bytes, std::size_t length) {
    int const fd = Open(path, O_WRONLY | O_CREAT);
    off_t const end = ::lseek(fd, 0, SEEK_END);
    Require(::pwrite(fd, bytes, length, end) == static_cast<ssize_t>(length), "raw calls: append failed");
    Close(fd);
}

}  // namespace

void RawFindSlot(std::string const& index_path, long long slot) {
    int const fd = Open(index_path, O_RDONLY);
    ReadHeadAndSlot(fd, slot);
    Close(fd);
}

void RawReadRecord(std::string const& data_path, Place const& place, char* bytes) {
    int const fd = Open(data_path, O_RDONLY);
    Read(fd, bytes, place.length, place.offset);
    Close(fd);
}

void RawFind(std::string const& index_path, std::string const& data_path, Place const& place, char* bytes) {
    RawFindSlot(index_path, place.slot);
    RawReadRecord(data_path, place, bytes);
}

void RawAdd(std::string const& index_path, std::string const& data_path, long long slot, char const* bytes,
            std::size_t length) {
    RawFindSlot(index_path, slot);
    Append(data_path, bytes, length);
    WriteSlot(index_path, slot);
}

void RawAddNumbered(std::string const& index_path, std::string const& data_path, int number, char const* bytes,
                    std::size_t length) {
    long long const slot =
        static_cast<long long>(IndexHead::kSize) + (number - 1LL) * static_cast<long long>(IndexKey::kSize);
    char slot_bytes[IndexKey::kSize] = "written by raw calls";
    int fd = Open(index_path, O_RDONLY);
    Read(fd, slot_bytes, IndexHead::kSize, 0);
    Require(::pread(fd, slot_bytes, sizeof slot_bytes, slot) == 0, "raw calls: the number is taken");
    Require(SizeOf(fd) == slot, "raw calls: the number is not the next");
    Close(fd);
    Append(data_path, bytes, length);
    fd = Open(index_path, O_RDWR);
    Read(fd, slot_bytes, IndexHead::kSize, 0);
    Require(SizeOf(fd) == slot, "raw calls: the number is not the next");
    Require(::pwrite(fd, slot_bytes, sizeof slot_bytes, slot) == sizeof slot_bytes, "raw calls: slot write failed");
    Close(fd);
}

void RawReadBlocks(std::string const& path, long long offset, long long length) {
    char block[kBlock];
    int const fd = Open(path, O_RDONLY);
    while (length > 0) {
        auto const now = std::min<std::size_t>(kBlock, static_cast<std::size_t>(length));
        Read(fd, block, now, offset);
        offset += static_cast<long long>(now);
        length -= static_cast<long long>(now);
    }
    Close(fd);
}

void RawWriteZeros(std::string const& path, long long length) {
    static char const zeros[kBlock] = {};
    int const fd = Open(path, O_WRONLY | O_CREAT | O_TRUNC);
    while (length > 0) {
        auto const now = std::min<std::size_t>(kBlock, static_cast<std::size_t>(length));
        Require(::write(fd, zeros, now) == static_cast<ssize_t>(now), "raw calls: write failed");
        length -= static_cast<long long>(now);
    }
    Close(fd);
}

}  // namespace bench
