#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/base/LittleEndian.h"
#include "tools/torvane/cache/FileView.h"

namespace torvane {

// Goes through the bytes of records in a file, of any size, with little memory; records in file order cost few reads.
// Nothing is given that lies outside the record. One object, one thread. Throws Stop(kIo).
class RecordCursor {
  public:
    static constexpr std::size_t kMostAtOnce = std::size_t{1} << 17U;  // bytes that Take can give

    // `window`: bytes that are read at once; for records in no order, about as many as one has.
    RecordCursor(FileView const& file, std::size_t window) : file_(file), least_(window) {}

    void Begin(std::uint64_t offset, std::uint64_t length) {
        at_ = offset;
        end_ = offset + length;
    }
    [[nodiscard]] std::uint64_t left() const { return end_ - at_; }

    // The next bytes, which stay valid until the next call; null when the record or the file has fewer.
    [[nodiscard]] std::uint8_t const* Take(std::size_t length);
    [[nodiscard]] bool Skip(std::uint64_t length);

    template <class Integer>
    [[nodiscard]] bool Get(Integer& value) {
        std::uint8_t const* const bytes = Take(sizeof(Integer));
        if (bytes != nullptr) value = Varnok::LoadLittleEndian<Integer>(bytes);
        return bytes != nullptr;
    }

  private:
    FileView const& file_;
    std::size_t least_;
    std::uint64_t at_ = 0;
    std::uint64_t end_ = 0;
    std::vector<std::uint8_t> window_;
    std::uint64_t window_at_ = 0;
    std::size_t window_length_ = 0;
};

}  // namespace torvane
