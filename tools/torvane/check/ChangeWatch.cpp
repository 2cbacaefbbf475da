#include "tools/torvane/check/ChangeWatch.h"

#include <algorithm>
#include <cstdint>
#include <ctime>

namespace torvane {

namespace {

constexpr std::time_t kFreshSeconds = 2;  // the coarsest time stamps that file systems in use have

constexpr std::int64_t kClockStep = 20'000'000;  // nanoseconds, several times what kernels are built with

std::int64_t NanosecondsBetween(struct timespec const& a, struct timespec const& b) {
    return (b.tv_sec - a.tv_sec) * std::int64_t{1'000'000'000} + (b.tv_nsec - a.tv_nsec);
}

bool IsSameTime(struct timespec const& a, struct timespec const& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace

bool IsJustWritten(struct timespec const& written, struct timespec const& now) {
    std::int64_t const age = NanosecondsBetween(written, now);
    return age >= 0 && age < kClockStep;
}

ChangeWatch::Seen ChangeWatch::LookAt(std::string const& path) {
    Seen seen;
    seen.path = path;
    struct timespec now {};
    (void)::clock_gettime(CLOCK_REALTIME, &now);
    seen.exists = ::lstat(path.c_str(), &seen.status) == 0;
    seen.just_written = seen.exists && IsJustWritten(seen.status.st_ctim, now);
    return seen;
}

bool ChangeWatch::IsSame(Seen const& a, Seen const& b) {
    if (a.exists != b.exists) return false;
    return !a.exists || (a.status.st_dev == b.status.st_dev && a.status.st_ino == b.status.st_ino &&
                         a.status.st_size == b.status.st_size && IsSameTime(a.status.st_mtim, b.status.st_mtim) &&
                         IsSameTime(a.status.st_ctim, b.status.st_ctim));
}

void ChangeWatch::Add(std::string const& path) {
    seen_.push_back(LookAt(path));
}

bool ChangeWatch::HasChanged() const {
    return std::any_of(seen_.begin(), seen_.end(), [](Seen const& seen) { return !IsSame(seen, LookAt(seen.path)); });
}

bool ChangeWatch::MayHaveChanged() const {
    return HasChanged() || std::any_of(seen_.begin(), seen_.end(), [](Seen const& seen) { return seen.just_written; });
}

bool ChangeWatch::IsFresh() const {
    std::time_t const now = std::time(nullptr);
    return std::any_of(seen_.begin(), seen_.end(), [now](Seen const& seen) {
        std::time_t const written = seen.status.st_ctim.tv_sec;
        return seen.exists && written + kFreshSeconds >= now && written <= now + kFreshSeconds;
    });
}

}  // namespace torvane
