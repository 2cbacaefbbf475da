#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace scanner {

enum class ReadStatus { kRead, kTooLarge, kNotRegular, kFailed };

// Reads whole files into one buffer that grows to the largest of them. A file costs four system calls: open, fstat,
// read, close. Symbolic links are not followed, a FIFO in a file's place does not block. One object, one thread.
class FileReader {
  public:
    explicit FileReader(std::uint64_t most_bytes) : most_bytes_(most_bytes) {}

    // Opens and reads the file. content() and error() tell the rest.
    [[nodiscard]] ReadStatus Read(std::string const& path);
    // What was read; lasts until the next Read.
    [[nodiscard]] std::string_view content() const { return {buffer_.get(), length_}; }
    // The errno of kFailed.
    [[nodiscard]] int error() const { return error_; }

  private:
    [[nodiscard]] ReadStatus ReadOpen(int fd);
    [[nodiscard]] ReadStatus ReadToEnd(int fd, std::size_t expected);
    [[nodiscard]] ReadStatus Failed();
    void Reserve(std::size_t capacity);

    std::uint64_t most_bytes_;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t length_ = 0;
    int error_ = 0;
};

}  // namespace scanner
