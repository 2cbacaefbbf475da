#include "tools/torvane/check/Slots.h"

#include <charconv>

#include "host/base/Murmur3.h"

namespace torvane {

namespace {

constexpr std::size_t kKeyLength = DLPCache::kTextKeyLength;

constexpr std::uint64_t kEveryByte = 0x0101010101010101U;
constexpr std::uint64_t kTopBits = kEveryByte * 0x80U;

// In the top bit of each byte, all of which are below 0x80: whether it is at least `least`.
constexpr std::uint64_t AreAtLeast(std::uint64_t bytes, char least) {
    return bytes + kEveryByte * (0x80U - static_cast<unsigned char>(least));
}

// Whether each of eight bytes is "0" to "9" or "a" to "f".
constexpr bool AreDigits(std::uint64_t bytes) {
    std::uint64_t const decimal = AreAtLeast(bytes, '0') & ~AreAtLeast(bytes, '9' + 1);
    std::uint64_t const letter = AreAtLeast(bytes, 'a') & ~AreAtLeast(bytes, 'f' + 1);
    return ((decimal | letter) & ~bytes & kTopBits) == kTopBits;
}

}  // namespace

bool RawSlot::HoldsTextKey() const {
    for (std::size_t at = 0; at < kKeyLength; at += sizeof(std::uint64_t)) {
        if (!AreDigits(Word(at))) return false;
    }
    return bytes_[kKeyLength] == 0;
}

bool RawSlot::HoldsNumber(std::uint64_t number) const {
    char text[24] = {};
    char const* const end = std::to_chars(text, text + sizeof text - 1, number).ptr;
    return std::memcmp(key(), text, static_cast<std::size_t>(end - text) + 1) == 0;
}

std::uint32_t RawSlot::BucketOf(std::uint32_t buckets) const {
    return Varnok::Murmur3_32(key(), static_cast<int>(kKeyLength)) % buckets;
}

std::uint64_t RawSlot::Tag() const {
    // A step of a multiplicative hash per word; what varies in a digit is in its low bits.
    constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15U;  // 2^64 divided by the golden ratio
    std::uint64_t tag = 0;
    for (std::size_t at = 0; at < kKeyLength; at += sizeof(std::uint64_t)) {
        tag = (tag ^ Word(at)) * kFactor;
        tag ^= tag >> 29U;
    }
    return tag;
}

}  // namespace torvane
