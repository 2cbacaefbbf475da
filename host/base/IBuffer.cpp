#include "host/base/IBuffer.h"

#include <algorithm>
#include <cstring>

#include "host/base/LittleEndian.h"

namespace Varnok {
namespace {

template <class Integer>
int ReadInteger(unsigned char const* bytes, long long left, long long& position, Integer& value) noexcept {
    constexpr int kWidth = sizeof(Integer);
    if (left < kWidth) return 0;
    value = LoadLittleEndian<Integer>(bytes + position);
    position += kWidth;
    return kWidth;
}

}  // namespace

IBuffer::IBuffer(unsigned char const* buf, long long len, bool own) noexcept
    : bytes_(buf), length_(buf == nullptr ? 0 : std::max(len, 0LL)), own_(own) {}

IBuffer::~IBuffer() {
    if (own_) delete[] bytes_;
}

int IBuffer::read_int16(short& value) noexcept {
    return ReadInteger(bytes_, remaining(), position_, value);
}

int IBuffer::read_int32(int& value) noexcept {
    return ReadInteger(bytes_, remaining(), position_, value);
}

int IBuffer::read_int64(long long& value) noexcept {
    return ReadInteger(bytes_, remaining(), position_, value);
}

long long IBuffer::read_buffer(void* bytes, long long length) noexcept {
    long long const count = std::min(length, remaining());
    if (count <= 0 || bytes == nullptr) return 0;
    std::memcpy(bytes, bytes_ + position_, static_cast<std::size_t>(count));
    position_ += count;
    return count;
}

}  // namespace Varnok
