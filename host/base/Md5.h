#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace Varnok {

// MD5 message digest (RFC 1321), computed over any number of runs of bytes. One object, one thread. Never fails.
class Md5 {
  public:
    using Digest = std::array<std::uint8_t, 16>;

    Md5() noexcept;
    void Update(void const* bytes, std::size_t length) noexcept;
    // Ends the message; the object must not be updated afterwards.
    [[nodiscard]] Digest Finish() noexcept;

    // 32 hexadecimal digits without a terminator.
    static void ToHexLower(Digest const& digest, char (&hex)[32]) noexcept;
    static void ToHexUpper(Digest const& digest, char (&hex)[32]) noexcept;

  private:
    void Block(std::uint8_t const* block) noexcept;

    std::array<std::uint32_t, 4> state_;
    std::uint64_t length_ = 0;  // bytes so far
    std::array<std::uint8_t, 64> pending_;
};

}  // namespace Varnok
