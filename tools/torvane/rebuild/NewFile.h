#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace torvane {

// A file that is being made, in mode 0600. Nothing is taken back on the way out. One object, one thread.
class NewFile {
  public:
    // Throws Stop(kIo), also when there is something at `path`.
    explicit NewFile(std::string const& path);
    ~NewFile();
    NewFile(NewFile const&) = delete;
    NewFile& operator=(NewFile const&) = delete;

    // Each throws Stop(kIo).
    void Write(std::uint8_t const* bytes, std::size_t length);
    void SetModified(struct timespec const& when);
    void Close();

  private:
    std::string path_;
    int fd_;
};

}  // namespace torvane
