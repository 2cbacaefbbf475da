#pragma once

#include <cstddef>
#include <string>

// Kinds of system calls that a test can make fail.
enum class SystemCall {
    kOpen,  // open, openat
    kClose,
    kPread,
    kPwrite,
    kWrite,
    kLseek,
    kFtruncate,
    kStat,    // stat, lstat, fstat, fstatat, statx
    kRename,  // rename, renameat
    kMkdir,   // mkdir, mkdirat
    kUnlink,  // unlink, unlinkat
    kRmdir,
    kFchmod,  // fchmod, fchmodat
    kReaddir,
    kSize
};

// Makes system calls of this process fail, move less than asked, or be its last. Nothing is armed without an object,
// and its end disarms everything; one object at a time. Calls of all threads count, beginning with 1 for the first call
// of a kind after it was armed. Any thread may make system calls meanwhile, one thread uses the object.
//
// To use it link torvane_fault_injection to the test: its definitions of the calls then come before those of the C
// library.
//
//     FaultInjection faults;
//     faults.Fail(SystemCall::kPwrite, 2, ENOSPC);   // the second pwrite from here
class FaultInjection {
  public:
    FaultInjection();
    ~FaultInjection();
    FaultInjection(FaultInjection const&) = delete;
    FaultInjection& operator=(FaultInjection const&) = delete;

    // The nth call fails with errno `error` and does nothing.
    void Fail(SystemCall call, int nth, int error);
    // Every call from the nth on.
    void FailFrom(SystemCall call, int nth, int error);
    // The nth call moves at most `bytes` bytes; kPread, kPwrite and kWrite only.
    void Shorten(SystemCall call, int nth, std::size_t bytes);
    void ShortenFrom(SystemCall call, int nth, std::size_t bytes);
    // The process dies (SIGKILL) in place of the nth call, of any kind, that changes the file system. 0 disarms.
    // Counting begins anew. For a child process of the test.
    void KillAtChange(int nth);

    // From now on calls that name a path elsewhere than below `directory` neither count nor fail. (Calls on descriptors
    // always count.)
    void OnlyBelow(std::string const& directory);

    // Calls of the kind since the object was made, failed ones included.
    [[nodiscard]] int Count(SystemCall call) const;
    // Calls of any kind but kReaddir since the object was made.
    [[nodiscard]] int CountAll() const;
    // Calls that changed the file system since the object was made or KillAtChange was called.
    [[nodiscard]] int CountChanges() const;
    // Faults that took effect since the object was made.
    [[nodiscard]] int Fired() const;
};
