#pragma once

#include <cstddef>

namespace Varnok {

// Flags that every open of this layer has: nothing leaks into a child, no symbolic link in the last component is
// followed, a FIFO in a file's place never blocks, no terminal becomes ours.
int SafeFlags(int flags) noexcept;

// Opens `path` with SafeFlags(flags) and gives the descriptor through `fd`. 0 or errno.
int OpenExisting(char const* path, int flags, int& fd) noexcept;
// The same, but makes the file, which must not exist, with mode 0600 whatever the umask.
int OpenNew(char const* path, int flags, int& fd) noexcept;
// The same for a file that may exist; one that exists costs no more than OpenExisting.
int OpenOrMake(char const* path, int flags, int& fd) noexcept;
// Makes a directory with mode 0700 whatever the umask. 0 or errno (EEXIST).
int MakeOneDir(char const* path) noexcept;

// Moves `count` bytes from or to `position`, through interruptions and short transfers. `moved` tells how many arrived;
// on reading fewer than `count` at the file's end. 0 or errno.
int ReadAt(int fd, void* bytes, std::size_t count, long long position, std::size_t& moved) noexcept;
int WriteAt(int fd, void const* bytes, std::size_t count, long long position) noexcept;

// Owns a descriptor.
class Descriptor {
  public:
    Descriptor() noexcept = default;
    explicit Descriptor(int fd) noexcept : fd_(fd) {}
    ~Descriptor() { (void)Close(); }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    [[nodiscard]] int Get() const noexcept { return fd_; }
    [[nodiscard]] int& Slot() noexcept { return fd_; }  // to be filled while nothing is open
    void Reset(int fd) noexcept {
        (void)Close();
        fd_ = fd;
    }
    [[nodiscard]] int Release() noexcept {
        int const fd = fd_;
        fd_ = -1;
        return fd;
    }
    // 0 or errno; the descriptor is gone either way.
    int Close() noexcept;

  private:
    int fd_ = -1;
};

}  // namespace Varnok
