#include "host/base/HFileLog.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

#include "host/base/Descriptor.h"
#include "host/base/Global.h"
#include "host/base/HAutoMutex.h"
#include "host/base/HFile.h"
#include "host/base/LocateMgr.h"
#include "host/base/LogText.h"
#include "host/base/NarrowPath.h"
#include "host/base/NeverDestroyed.h"
#include "host/base/NoThrow.h"

namespace {

constexpr long long kFullSize = 16LL * 1024 * 1024;

// Whether `fd` is the regular file that `path` names now; `size` receives its size.
bool IsFileOf(int fd, char const* path, long long& size) noexcept {
    struct stat open_file {};
    struct stat named {};
    if (fd < 0 || ::fstat(fd, &open_file) != 0 || ::lstat(path, &named) != 0) return false;
    size = named.st_size;
    return S_ISREG(named.st_mode) && open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino;
}

// Whether a file of this size has no room for the line. A line that is longer than that has a file of its own.
bool IsFull(long long size, std::string const& line) noexcept {
    return size > 0 && size + static_cast<long long>(line.size()) > kFullSize;
}

// One call for the whole line; what a full disk cut off is tried once more and then lost.
bool WriteLine(int fd, std::string const& line) noexcept {
    std::size_t done = 0;
    while (done < line.size()) {
        ssize_t const put = ::write(fd, line.data() + done, line.size() - done);
        if (put > 0) {
            done += static_cast<std::size_t>(put);
        } else if (put == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

}  // namespace

HFileLog::HFileLog() = default;

HFileLog::~HFileLog() {
    Varnok::Descriptor const closing(fd_);
}

HFileLog* HFileLog::ins() noexcept {
    static Varnok::NeverDestroyed<HFileLog> const instance([](void* place) { return new (place) HFileLog; });
    return instance.get();
}

HLogRecord HFileLog::get(int level, wchar_t const* source, int line) const noexcept {
    return {Varnok::Global::IsLoggingOn(), level, source, line, {}};
}

void HFileLog::set_check_mark_file(bool on) noexcept {
    HAutoMutex const lock(mutex_);
    check_mark_ = on;
}

void HFileLog::set_name(HString const& name) noexcept {
    // A name is one path component; anything else names no file of ours.
    HAutoMutex const lock(mutex_);
    name_ = name.find(u'/') < 0 ? name : HString();
}

void HFileLog::log(HLogRecord const& record) noexcept {
    if (!record.active) return;
    (void)NoThrow(false, [this, &record] {
        std::string line;
        line.reserve(80 + record.text.size());
        Varnok::AppendPrefix(line, record.level, record.source, record.line);
        Varnok::AppendEscaped(line, record.text);
        line += '\n';
        HAutoMutex const lock(mutex_);
        return Write(line);
    });
}

bool HFileLog::Write(std::string const& line) {
    if (name_.empty()) return false;
    HString base = Varnok::LocateMgr::pins()->get_log_path(true);
    if (base.empty()) return false;
    base << name_;
    if (check_mark_ && !HFile::IsFileExistFile(HString(base) << ".mark")) return false;
    Varnok::NarrowPath path(base << ".log");
    long long size = 0;
    if (path.Error() != 0 || !OpenCurrent(path.Text(), size)) return false;
    if (IsFull(size, line)) {
        Rotate(path.Text(), line);
        if (!OpenCurrent(path.Text(), size)) return false;
    }
    return WriteLine(fd_, line);
}

bool HFileLog::OpenCurrent(char const* path, long long& size) {
    if (IsFileOf(fd_, path, size)) return true;
    Varnok::Descriptor opened;
    int error = Varnok::OpenOrMake(path, O_WRONLY | O_APPEND, opened.Slot());
    if (error == ENOENT && Varnok::MakeDir(Varnok::LocateMgr::pins()->get_log_path(false))) {
        error = Varnok::OpenOrMake(path, O_WRONLY | O_APPEND, opened.Slot());
    }
    if (error != 0 || !IsFileOf(opened.Get(), path, size)) return false;
    std::swap(fd_, opened.Slot());
    return true;
}

void HFileLog::Rotate(char const* path, std::string const& line) {
    // Of several processes that find the file full, one renames it; the others see by then that the path names another
    // file, or that it is not full. The lock belongs to a descriptor opened here: one that a process was forked with is
    // its parent's as well and would not exclude it.
    std::string const old = std::string(path) + ".old";
    Varnok::Descriptor const locked(::open(path, Varnok::SafeFlags(O_WRONLY)));
    long long size = 0;
    if (locked.Get() < 0 || ::flock(locked.Get(), LOCK_EX | LOCK_NB) != 0) return;
    if (IsFileOf(locked.Get(), path, size) && IsFull(size, line)) (void)::rename(path, old.c_str());
    (void)::flock(locked.Get(), LOCK_UN);  // closing does not do while a child that was just forked has it open
}

void Varnok::SetLogFileName(void* log, HString const& name) noexcept {
    if (log != nullptr) static_cast<HFileLog*>(log)->set_name(name);
}
