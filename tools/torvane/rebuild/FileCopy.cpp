#include "tools/torvane/rebuild/FileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "host/base/HFile.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cache/FileView.h"

namespace torvane {

namespace {

constexpr mode_t kMode = 0600;
constexpr std::size_t kPiece = std::size_t{1} << 20U;

[[noreturn]] void CannotWrite(std::string const& path) {
    throw Stop(ExitStatus::kIo, "cannot write " + path + ": " + std::strerror(errno));
}

// A file that is being made.
class NewFile {
  public:
    explicit NewFile(std::string const& path)
        : path_(path), fd_(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kMode)) {
        if (fd_ < 0 || ::fchmod(fd_, kMode) != 0) CannotWrite(path_);
    }
    ~NewFile() {
        if (fd_ >= 0) ::close(fd_);
    }
    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;

    void Write(std::uint8_t const* bytes, std::size_t length) {
        while (length > 0) {
            ssize_t const written = ::write(fd_, bytes, length);
            if (written < 0 && errno != EINTR) CannotWrite(path_);
            if (written <= 0) continue;
            bytes += written;
            length -= static_cast<std::size_t>(written);
        }
    }
    void Close() {
        int const fd = std::exchange(fd_, -1);
        if (::close(fd) != 0) CannotWrite(path_);
    }

  private:
    std::string const& path_;
    int fd_;
};

}  // namespace

void MakeDirectory(std::string const& path) {
    if (!Varnok::MakeDir(HString(path))) throw Stop(ExitStatus::kIo, "cannot make " + path);
}

bool CopyFile(std::string const& from, std::string const& to) {
    FileView const source(from);
    if (source.state() == FileView::State::kUnreadable)
        throw Stop(ExitStatus::kIo, "cannot read " + from + ": " + std::strerror(source.error()));
    if (source.state() != FileView::State::kOpen) return false;
    NewFile target(to);
    std::vector<std::uint8_t> piece(kPiece);
    std::uint64_t at = 0;
    while (std::size_t const length = source.ReadAt(at, piece)) {
        target.Write(piece.data(), length);
        at += length;
    }
    target.Close();
    return true;
}

void RemoveTree(std::string const& path) noexcept {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace torvane
