#include "tests/support/fault/FaultInjection.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <mutex>
#include <string_view>

namespace {

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

struct Fault {
    int first = 0;  // call from which on it takes effect, 0: never
    int last = 0;
    int error = 0;  // 0: shortened
    std::size_t bytes = kNoLimit;
    int calls = 0;  // since armed
};

// What happens to one call.
struct Verdict {
    int error = 0;
    std::size_t bytes = kNoLimit;
};

struct State {
    std::mutex mutex;  // guards everything below
    std::array<Fault, static_cast<std::size_t>(SystemCall::kSize)> faults;
    std::array<int, static_cast<std::size_t>(SystemCall::kSize)> counts{};
    int changes = 0;
    int kill_at = 0;
    int fired = 0;
    std::string below;
};

std::atomic<bool> armed{false};

State& Shared() {
    static State* const state = new State;
    return *state;
}

std::size_t IndexOf(SystemCall call) {
    return static_cast<std::size_t>(call);
}

bool Concerns(State const& state, char const* path) {
    return path == nullptr || state.below.empty() || std::string_view(path).starts_with(state.below);
}

Verdict Decide(SystemCall call, char const* path, bool changes) {
    if (!armed.load(std::memory_order_acquire)) return {};
    State& state = Shared();
    std::scoped_lock const lock(state.mutex);
    if (!Concerns(state, path)) return {};
    ++state.counts[IndexOf(call)];
    if (changes && ++state.changes == state.kill_at) (void)raise(SIGKILL);
    Fault& fault = state.faults[IndexOf(call)];
    ++fault.calls;
    if (fault.first == 0 || fault.calls < fault.first || fault.calls > fault.last) return {};
    ++state.fired;
    return {fault.error, fault.bytes};
}

void Arm(SystemCall call, Fault const& fault) {
    std::scoped_lock const lock(Shared().mutex);
    Shared().faults[IndexOf(call)] = fault;
}

template <class Function>
Function* Next(Function* /*of this type*/, char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Calls the C library's function unless the call is to fail.
template <class Function, class... Arguments>
auto Pass(Verdict const& verdict, Function* function, Arguments... arguments) -> decltype(function(arguments...)) {
    using Returned = decltype(function(arguments...));
    if (verdict.error == 0) return function(arguments...);
    errno = verdict.error;
    return static_cast<Returned>(-1);
}

}  // namespace

FaultInjection::FaultInjection() {
    Shared();
    armed.store(true, std::memory_order_release);
}

FaultInjection::~FaultInjection() {
    armed.store(false, std::memory_order_release);
    State& state = Shared();
    std::scoped_lock const lock(state.mutex);
    state.faults.fill({});
    state.counts.fill(0);
    state.changes = state.kill_at = state.fired = 0;
    state.below.clear();
}

void FaultInjection::Fail(SystemCall call, int nth, int error) {
    Arm(call, {nth, nth, error, kNoLimit, 0});
}

void FaultInjection::FailFrom(SystemCall call, int nth, int error) {
    Arm(call, {nth, std::numeric_limits<int>::max(), error, kNoLimit, 0});
}

void FaultInjection::Shorten(SystemCall call, int nth, std::size_t bytes) {
    Arm(call, {nth, nth, 0, bytes, 0});
}

void FaultInjection::ShortenFrom(SystemCall call, int nth, std::size_t bytes) {
    Arm(call, {nth, std::numeric_limits<int>::max(), 0, bytes, 0});
}

void FaultInjection::KillAtChange(int nth) {
    std::scoped_lock const lock(Shared().mutex);
    Shared().changes = 0;
    Shared().kill_at = nth;
}

void FaultInjection::OnlyBelow(std::string const& directory) {
    std::scoped_lock const lock(Shared().mutex);
    Shared().below = directory;
}

int FaultInjection::Count(SystemCall call) const {
    std::scoped_lock const lock(Shared().mutex);
    return Shared().counts[IndexOf(call)];
}

int FaultInjection::CountAll() const {
    std::scoped_lock const lock(Shared().mutex);
    int all = 0;
    for (int const count : Shared().counts)
        all += count;
    return all - Shared().counts[IndexOf(SystemCall::kReaddir)];
}

int FaultInjection::CountChanges() const {
    std::scoped_lock const lock(Shared().mutex);
    return Shared().changes;
}

int FaultInjection::Fired() const {
    std::scoped_lock const lock(Shared().mutex);
    return Shared().fired;
}

// The definitions that come before those of the C library.
extern "C" {

int open(char const* path, int flags, ...) {
    static auto* const next = Next(&open, "open");
    va_list rest;
    va_start(rest, flags);
    mode_t const mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(rest, int)) : 0;
    va_end(rest);
    return Pass(Decide(SystemCall::kOpen, path, (flags & (O_CREAT | O_TRUNC)) != 0), next, path, flags, mode);
}

int openat(int at, char const* path, int flags, ...) {
    static auto* const next = Next(&openat, "openat");
    va_list rest;
    va_start(rest, flags);
    mode_t const mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? static_cast<mode_t>(va_arg(rest, int)) : 0;
    va_end(rest);
    char const* const named = path[0] == '/' ? path : nullptr;
    return Pass(Decide(SystemCall::kOpen, named, (flags & (O_CREAT | O_TRUNC)) != 0), next, at, path, flags, mode);
}

int close(int fd) {
    static auto* const next = Next(&close, "close");
    Verdict const verdict = Decide(SystemCall::kClose, nullptr, false);
    // A close that fails has closed the descriptor all the same.
    int const result = next(fd);
    if (verdict.error == 0) return result;
    errno = verdict.error;
    return -1;
}

ssize_t pread(int fd, void* bytes, std::size_t count, off_t position) {
    static auto* const next = Next(&pread, "pread");
    Verdict const verdict = Decide(SystemCall::kPread, nullptr, false);
    return Pass(verdict, next, fd, bytes, std::min(count, verdict.bytes), position);
}

ssize_t pwrite(int fd, void const* bytes, std::size_t count, off_t position) {
    static auto* const next = Next(&pwrite, "pwrite");
    Verdict const verdict = Decide(SystemCall::kPwrite, nullptr, true);
    return Pass(verdict, next, fd, bytes, std::min(count, verdict.bytes), position);
}

ssize_t write(int fd, void const* bytes, std::size_t count) {
    static auto* const next = Next(&write, "write");
    Verdict const verdict = Decide(SystemCall::kWrite, nullptr, true);
    return Pass(verdict, next, fd, bytes, std::min(count, verdict.bytes));
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
    static auto* const next = Next(&lseek, "lseek");
    return Pass(Decide(SystemCall::kLseek, nullptr, false), next, fd, offset, whence);
}

int ftruncate(int fd, off_t length) noexcept {
    static auto* const next = Next(&ftruncate, "ftruncate");
    return Pass(Decide(SystemCall::kFtruncate, nullptr, true), next, fd, length);
}

int stat(char const* path, struct stat* status) noexcept {
    static auto* const next = Next<int(char const*, struct stat*)>(nullptr, "stat");
    return Pass(Decide(SystemCall::kStat, path, false), next, path, status);
}

int lstat(char const* path, struct stat* status) noexcept {
    static auto* const next = Next(&lstat, "lstat");
    return Pass(Decide(SystemCall::kStat, path, false), next, path, status);
}

int fstat(int fd, struct stat* status) noexcept {
    static auto* const next = Next(&fstat, "fstat");
    return Pass(Decide(SystemCall::kStat, nullptr, false), next, fd, status);
}

int fstatat(int at, char const* path, struct stat* status, int flags) noexcept {
    static auto* const next = Next(&fstatat, "fstatat");
    return Pass(Decide(SystemCall::kStat, path[0] == '/' ? path : nullptr, false), next, at, path, status, flags);
}

int statx(int at, char const* path, int flags, unsigned mask, struct statx* status) noexcept {
    static auto* const next = Next<int(int, char const*, int, unsigned, struct statx*)>(nullptr, "statx");
    return Pass(Decide(SystemCall::kStat, path[0] == '/' ? path : nullptr, false), next, at, path, flags, mask, status);
}

int rename(char const* from, char const* to) noexcept {
    static auto* const next = Next(&rename, "rename");
    return Pass(Decide(SystemCall::kRename, to, true), next, from, to);
}

int renameat(int at_from, char const* from, int at_to, char const* to) noexcept {
    static auto* const next = Next(&renameat, "renameat");
    return Pass(Decide(SystemCall::kRename, to[0] == '/' ? to : nullptr, true), next, at_from, from, at_to, to);
}

int mkdir(char const* path, mode_t mode) noexcept {
    static auto* const next = Next(&mkdir, "mkdir");
    return Pass(Decide(SystemCall::kMkdir, path, true), next, path, mode);
}

int mkdirat(int at, char const* path, mode_t mode) noexcept {
    static auto* const next = Next(&mkdirat, "mkdirat");
    return Pass(Decide(SystemCall::kMkdir, path[0] == '/' ? path : nullptr, true), next, at, path, mode);
}

int unlink(char const* path) noexcept {
    static auto* const next = Next(&unlink, "unlink");
    return Pass(Decide(SystemCall::kUnlink, path, true), next, path);
}

int unlinkat(int at, char const* path, int flags) noexcept {
    static auto* const next = Next(&unlinkat, "unlinkat");
    return Pass(Decide(SystemCall::kUnlink, path[0] == '/' ? path : nullptr, true), next, at, path, flags);
}

int rmdir(char const* path) noexcept {
    static auto* const next = Next(&rmdir, "rmdir");
    return Pass(Decide(SystemCall::kRmdir, path, true), next, path);
}

int fchmod(int fd, mode_t mode) noexcept {
    static auto* const next = Next(&fchmod, "fchmod");
    return Pass(Decide(SystemCall::kFchmod, nullptr, true), next, fd, mode);
}

int fchmodat(int at, char const* path, mode_t mode, int flags) noexcept {
    static auto* const next = Next(&fchmodat, "fchmodat");
    return Pass(Decide(SystemCall::kFchmod, path[0] == '/' ? path : nullptr, true), next, at, path, mode, flags);
}

dirent* readdir(DIR* directory) {
    static auto* const next = Next(&readdir, "readdir");
    Verdict const verdict = Decide(SystemCall::kReaddir, nullptr, false);
    if (verdict.error == 0) return next(directory);
    errno = verdict.error;
    return nullptr;
}

}  // extern "C"
