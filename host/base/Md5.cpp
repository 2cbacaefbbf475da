#include "host/base/Md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "host/base/LittleEndian.h"

namespace Varnok {
namespace {

using Word = std::uint32_t;

// The four auxiliary functions of RFC 1321 section 3.4, F and G in the forms that need fewer operations.
struct F {
    static Word Of(Word x, Word y, Word z) noexcept { return z ^ (x & (y ^ z)); }
};
struct G {
    static Word Of(Word x, Word y, Word z) noexcept { return (x & z) + (y & ~z); }
};
struct H {
    static Word Of(Word x, Word y, Word z) noexcept { return x ^ y ^ z; }
};
struct I {
    static Word Of(Word x, Word y, Word z) noexcept { return y ^ (x | ~z); }
};

template <class Function>
inline void Step(Word& a, Word b, Word c, Word d, Word word, int shift, Word sine) noexcept {
    a = b + std::rotl(a + word + sine + Function::Of(b, c, d), shift);
}

struct Sines {
    Word first, second, third, fourth;
};

// Four steps in a row; their words lie `stride` apart from `index` on, modulo 16.
template <class Function>
inline void Steps(Word (&s)[4], Word const (&x)[16], unsigned index, unsigned stride, int const (&shift)[4],
                  Sines const& sine) noexcept {
    Step<Function>(s[0], s[1], s[2], s[3], x[index % 16], shift[0], sine.first);
    Step<Function>(s[3], s[0], s[1], s[2], x[(index + stride) % 16], shift[1], sine.second);
    Step<Function>(s[2], s[3], s[0], s[1], x[(index + 2 * stride) % 16], shift[2], sine.third);
    Step<Function>(s[1], s[2], s[3], s[0], x[(index + 3 * stride) % 16], shift[3], sine.fourth);
}

constexpr int kShiftF[4] = {7, 12, 17, 22};
constexpr int kShiftG[4] = {5, 9, 14, 20};
constexpr int kShiftH[4] = {4, 11, 16, 23};
constexpr int kShiftI[4] = {6, 10, 15, 21};

inline void RoundF(Word (&s)[4], Word const (&x)[16]) noexcept {
    Steps<F>(s, x, 0, 1, kShiftF, {0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee});
    Steps<F>(s, x, 4, 1, kShiftF, {0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501});
    Steps<F>(s, x, 8, 1, kShiftF, {0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be});
    Steps<F>(s, x, 12, 1, kShiftF, {0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821});
}

inline void RoundG(Word (&s)[4], Word const (&x)[16]) noexcept {
    Steps<G>(s, x, 1, 5, kShiftG, {0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa});
    Steps<G>(s, x, 5, 5, kShiftG, {0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8});
    Steps<G>(s, x, 9, 5, kShiftG, {0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed});
    Steps<G>(s, x, 13, 5, kShiftG, {0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a});
}

inline void RoundH(Word (&s)[4], Word const (&x)[16]) noexcept {
    Steps<H>(s, x, 5, 3, kShiftH, {0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c});
    Steps<H>(s, x, 1, 3, kShiftH, {0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70});
    Steps<H>(s, x, 13, 3, kShiftH, {0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05});
    Steps<H>(s, x, 9, 3, kShiftH, {0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665});
}

inline void RoundI(Word (&s)[4], Word const (&x)[16]) noexcept {
    Steps<I>(s, x, 0, 7, kShiftI, {0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039});
    Steps<I>(s, x, 12, 7, kShiftI, {0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1});
    Steps<I>(s, x, 8, 7, kShiftI, {0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1});
    Steps<I>(s, x, 4, 7, kShiftI, {0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391});
}

void ToHex(Md5::Digest const& digest, char const* digits, char (&hex)[32]) noexcept {
    for (std::size_t i = 0; i < digest.size(); ++i) {
        hex[2 * i] = digits[digest[i] >> 4];
        hex[2 * i + 1] = digits[digest[i] & 15];
    }
}

}  // namespace

Md5::Md5() noexcept : state_{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476} {}

void Md5::Block(std::uint8_t const* block) noexcept {
    Word x[16];
    for (std::size_t i = 0; i < 16; ++i)
        x[i] = LoadLittleEndian<Word>(block + 4 * i);
    Word s[4] = {state_[0], state_[1], state_[2], state_[3]};
    RoundF(s, x);
    RoundG(s, x);
    RoundH(s, x);
    RoundI(s, x);
    for (std::size_t i = 0; i < 4; ++i)
        state_[i] += s[i];
}

void Md5::Update(void const* bytes, std::size_t length) noexcept {
    if (length == 0) return;
    auto const* next = static_cast<std::uint8_t const*>(bytes);
    std::size_t const held = length_ % 64;
    length_ += length;
    if (held != 0) {
        std::size_t const taken = std::min(length, 64 - held);
        std::memcpy(pending_.data() + held, next, taken);
        if (held + taken < 64) return;
        Block(pending_.data());
        next += taken;
        length -= taken;
    }
    for (; length >= 64; next += 64, length -= 64)
        Block(next);
    if (length != 0) std::memcpy(pending_.data(), next, length);
}

Md5::Digest Md5::Finish() noexcept {
    static constexpr std::uint8_t kPadding[64] = {0x80};
    std::uint8_t bits[8];
    StoreLittleEndian(length_ * 8, bits);
    std::size_t const held = length_ % 64;
    Update(kPadding, held < 56 ? 56 - held : 120 - held);
    Update(bits, sizeof bits);
    Digest digest;
    for (std::size_t i = 0; i < 4; ++i)
        StoreLittleEndian(state_[i], digest.data() + 4 * i);
    return digest;
}

void Md5::ToHexLower(Digest const& digest, char (&hex)[32]) noexcept {
    ToHex(digest, "0123456789abcdef", hex);
}

void Md5::ToHexUpper(Digest const& digest, char (&hex)[32]) noexcept {
    ToHex(digest, "0123456789ABCDEF", hex);
}

}  // namespace Varnok
