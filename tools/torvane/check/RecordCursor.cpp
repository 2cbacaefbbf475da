#include "tools/torvane/check/RecordCursor.h"

#include <algorithm>

namespace torvane {

std::uint8_t const* RecordCursor::Take(std::size_t length) {
    if (length > left() || length > kMostAtOnce) return nullptr;
    if (at_ < window_at_ || at_ + length > window_at_ + window_length_) {
        window_.resize(std::max(least_, length));
        window_at_ = at_;
        window_length_ = file_.ReadAt(at_, window_);
        if (window_length_ < length) return nullptr;
    }
    std::uint8_t const* const bytes = window_.data() + (at_ - window_at_);
    at_ += length;
    return bytes;
}

bool RecordCursor::Skip(std::uint64_t length) {
    if (length > left()) return false;
    at_ += length;
    return true;
}

}  // namespace torvane
