#include "bench/Answers.h"

#include <cstring>

namespace bench {
namespace {

constexpr std::uint64_t kMissing = std::uint64_t{1} << 40;  // above every answer's number

// SplitMix64 (Steele, Lea, Flood 2014).
constexpr std::uint64_t Mix(std::uint64_t x) {
    x += 0x9e3779b97f4a7c15;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9;
    x = (x ^ (x >> 27)) * 0x94d049bb133111eb;
    return x ^ (x >> 31);
}

}  // namespace

std::string KeyOf(std::uint64_t i) {
    std::string key;
    for (std::uint64_t half : {Mix(2 * i), Mix(2 * i + 1)}) {
        for (int digit = 0; digit < 16; ++digit, half >>= 4)
            key += "0123456789abcdef"[half & 15];
    }
    return key;
}

std::string MissingKeyOf(std::uint64_t i) {
    return KeyOf(kMissing + i);
}

Value ValueOf(std::uint64_t i) {
    Value value;
    for (std::size_t at = 0, word = 0; at < kValueBytes; at += sizeof(std::uint64_t), ++word) {
        std::uint64_t const bits = Mix(~i * 64 + word);
        std::memcpy(value.data() + at, &bits, std::min(sizeof bits, kValueBytes - at));
    }
    return value;
}

bool IsValueOf(std::uint64_t i, std::string_view bytes) {
    Value const value = ValueOf(i);
    return bytes.size() == value.size() && std::memcmp(bytes.data(), value.data(), value.size()) == 0;
}

}  // namespace bench
