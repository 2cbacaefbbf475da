#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace torvane {

// A regular file open for reading, and nothing but reading: no access time is set where that can be helped, no link is
// followed, a FIFO does not block. Moves with its owner; one object, one thread.
class FileView {
  public:
    enum class State {
        kOpen,
        kMissing,
        kForeign,     // a link, directory, FIFO or the like stands there
        kUnreadable,  // see error()
    };

    FileView() = default;
    explicit FileView(std::string path);
    ~FileView();
    FileView(FileView&& other) noexcept;
    FileView& operator=(FileView&& other) noexcept;

    [[nodiscard]] State state() const { return state_; }
    [[nodiscard]] int error() const { return error_; }  // errno of kUnreadable
    [[nodiscard]] std::string const& path() const { return path_; }
    // As it was opened.
    [[nodiscard]] std::uint64_t size() const { return size_; }
    [[nodiscard]] struct stat const& status() const { return status_; }

    // Reads at `position`; the bytes that arrived, fewer at the file's end. Throws Stop(kIo).
    [[nodiscard]] std::size_t ReadAt(std::uint64_t position, std::span<std::uint8_t> bytes) const;

    // Its size at this moment; 0 when it is not open.
    [[nodiscard]] std::uint64_t SizeNow() const;
    // Throws Stop(kIo) for kUnreadable: what may not be looked at is no damage.
    void RequireReadable() const;

    // Whether the file at the path is another one by now, or has been written since it was opened: what was read may be
    // of two states.
    [[nodiscard]] bool HasChanged() const;

  private:
    std::string path_;
    State state_ = State::kMissing;
    int error_ = 0;
    int fd_ = -1;
    std::uint64_t size_ = 0;
    struct stat status_ {};
};

// The size of the regular file at the path, without opening it; 0 when none stands there. Throws Stop(kIo).
[[nodiscard]] std::uint64_t SizeOfFile(std::string const& path);

}  // namespace torvane
