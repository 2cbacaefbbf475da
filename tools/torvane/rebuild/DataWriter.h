#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/rebuild/NewFile.h"

namespace torvane {

// Makes the data file of a store, one record behind the other, with 1 MiB of memory whatever their size. There is no
// file as long as there is no record. One object, one thread.
class DataWriter {
  public:
    explicit DataWriter(std::string path) : path_(std::move(path)) {}

    // Appends a record that lies in `from`; where it lies in the new file. Throws Stop: kIo, or kBusy when the file
    // does not reach that far any more.
    [[nodiscard]] std::int64_t Append(FileView const& from, std::uint64_t offset, std::uint64_t length);
    // To be called last. Throws Stop(kIo).
    void Close();

  private:
    void Flush();

    std::string path_;
    std::optional<NewFile> file_;
    std::vector<std::uint8_t> bytes_;
    std::size_t held_ = 0;  // bytes that have not been written yet
    std::uint64_t end_ = 0;
};

}  // namespace torvane
