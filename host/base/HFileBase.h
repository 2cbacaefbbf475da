#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// An open regular file with a position of its own. Base of HFileReader, HFileReadWriter and HFileWriter, which add the
// ways of opening. Files are opened with O_CLOEXEC, O_NOFOLLOW and O_NONBLOCK: a FIFO never blocks and a symbolic link
// is never followed. Transfers are positioned (pread, pwrite), so that setting the position costs no system call and
// everything fails on what is no regular file. Interrupted and short transfers are continued.
//
// Owns its descriptor; the destructor closes it. One object, one thread. Nothing throws. Operations that return an int
// give 0 on success and the errno value otherwise.
class TORVANE_API HFileBase {
  public:
    HFileBase(HFileBase const&) = delete;
    HFileBase& operator=(HFileBase const&) = delete;

    // Reads up to `n` bytes at the position and moves it. Returns the bytes read: fewer than `n` at the file's end or
    // on an error. A position past the end reads 0 bytes.
    [[nodiscard]] long long read(void* buf, long long n) noexcept;
    // Writes all of `n` bytes at the position and moves it. 0 means that the kernel has taken them whole; after a
    // failure part of them may be in the file.
    [[nodiscard]] int write(void const* buf, long long n) noexcept;
    // The same with `n` zero bytes, in pieces of 64 KiB from one small buffer.
    [[nodiscard]] int write_zeros(long long n) noexcept;
    // Fails (EINVAL) for negative positions only.
    [[nodiscard]] int set_pointer(long long position) noexcept;
    [[nodiscard]] int set_pointer_to_end() noexcept;
    // The position, or -1 when the end that it stands for could not be determined.
    [[nodiscard]] long long get_current_pointer() noexcept;
    // The file's size in bytes now, or -1.
    [[nodiscard]] long long get_now_size() const noexcept;
    // Cuts the file to `size` bytes.
    int cut_off(long long size) noexcept;
    // Hands what is buffered to the kernel: nothing is, so it always succeeds. Not a sync: what was written survives
    // the death of the process, not a power cut.
    int flush() noexcept { return 0; }
    int closex() noexcept;

  protected:
    HFileBase() noexcept = default;
    ~HFileBase() { (void)closex(); }
    // Opens with the given flags besides those above; a file that is made gets mode 0600 whatever the umask.
    [[nodiscard]] int open_file(HString const& path, int flags) noexcept;

    static constexpr long long kAtEnd = -1;  // position not yet determined: the end of the file
    long long position_ = 0;

  private:
    int fd_ = -1;
};
