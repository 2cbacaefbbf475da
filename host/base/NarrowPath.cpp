#include "host/base/NarrowPath.h"

#include <cerrno>
#include <cstring>

#include "host/base/Utf8Units.h"

namespace Varnok {

NarrowPath::NarrowPath(HString const& path) noexcept {
    std::size_t const length = CopyNarrow(path.view(), text_, sizeof text_ - 1);
    if (length >= sizeof text_) {
        error_ = ENAMETOOLONG;
    } else if (std::memchr(text_, '\0', length) != nullptr) {
        error_ = EINVAL;
    } else {
        length_ = length;
    }
    text_[length_] = '\0';
}

void NarrowPath::CutSeparatorsAtEnd() noexcept {
    while (length_ > 1 && text_[length_ - 1] == '/')
        text_[--length_] = '\0';
}

}  // namespace Varnok
