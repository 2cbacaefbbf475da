#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "host/base/HString.h"

namespace Varnok {

// Takes apart what ArchiveWriter wrote. Hostile input is refused: no count is believed that the bytes left cannot back.
// Each operation returns false, and all later ones too, once something did not fit; the value is then as it was. The
// bytes stay the caller's, who keeps them alive. One object, one thread. Throws std::bad_alloc only.
class ArchiveReader {
  public:
    explicit ArchiveReader(std::string_view bytes) noexcept : rest_(bytes) {}

    [[nodiscard]] bool GetByte(std::uint8_t& value) noexcept;
    [[nodiscard]] bool GetInt32(std::int32_t& value) noexcept;
    [[nodiscard]] bool GetInt64(std::int64_t& value) noexcept;
    // A count of elements of at least `least_bytes` bytes each (1 or more).
    [[nodiscard]] bool GetCount(std::size_t& count, std::size_t least_bytes) noexcept;
    [[nodiscard]] bool GetText(HString& text);
    [[nodiscard]] bool GetTexts(std::vector<HString>& texts);
    // Everything was read and nothing failed.
    [[nodiscard]] bool AtEnd() const noexcept { return good_ && rest_.empty(); }

  private:
    template <class Integer>
    bool Get(Integer& value) noexcept;

    bool good_ = true;
    std::string_view rest_;
};

}  // namespace Varnok
