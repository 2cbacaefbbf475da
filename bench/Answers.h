#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

// The answers that the stores under comparison hold: answer i has a key of 32 hexadecimal digits and a value of 300
// bytes, both made from i alone, so that every value read is checked without keeping them all in memory.
inline constexpr std::size_t kAnswers = 200000;
inline constexpr std::size_t kMissingKeys = 50000;
inline constexpr std::size_t kValueBytes = 300;
using Value = std::array<char, kValueBytes>;

[[nodiscard]] std::string KeyOf(std::uint64_t i);
// A key that no answer has.
[[nodiscard]] std::string MissingKeyOf(std::uint64_t i);
[[nodiscard]] Value ValueOf(std::uint64_t i);
[[nodiscard]] bool IsValueOf(std::uint64_t i, std::string_view bytes);

// A walk over all answers whose steps are far apart in the order of their adding.
[[nodiscard]] constexpr std::size_t Scattered(std::size_t step) {
    return step * 7919 % kAnswers;
}

}  // namespace bench
