#include "host/base/OBuffer.h"

#include <cstring>

#include "host/base/LittleEndian.h"

namespace Varnok {
namespace {

template <class Integer>
int WriteInteger(OBuffer& buffer, Integer value) noexcept {
    std::uint8_t bytes[sizeof(Integer)];
    StoreLittleEndian(value, bytes);
    return static_cast<int>(buffer.write_buffer(bytes, sizeof bytes));
}

}  // namespace

OBuffer::OBuffer(unsigned char** buf, long long start, long long capacity) noexcept
    : bytes_(buf == nullptr ? nullptr : *buf), start_(start), position_(start), capacity_(capacity) {
    bool const usable = bytes_ != nullptr && start >= 0 && start <= capacity;
    if (!usable) start_ = position_ = capacity_ = 0;
}

int OBuffer::write_int16(short value) noexcept {
    return WriteInteger(*this, value);
}

int OBuffer::write_uint16(unsigned short value) noexcept {
    return WriteInteger(*this, value);
}

int OBuffer::write_int32(int value) noexcept {
    return WriteInteger(*this, value);
}

int OBuffer::write_int64(long long value) noexcept {
    return WriteInteger(*this, value);
}

long long OBuffer::write_buffer(void const* bytes, long long length) noexcept {
    if (bytes == nullptr || length <= 0 || length > capacity_ - position_) return 0;
    std::memcpy(bytes_ + position_, bytes, static_cast<std::size_t>(length));
    position_ += length;
    return length;
}

}  // namespace Varnok
