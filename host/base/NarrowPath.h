#pragma once

#include <climits>
#include <cstddef>

#include "host/base/HString.h"

namespace Varnok {

// A path as system calls take it, on the stack. A path with a zero inside (EINVAL) or longer than the system takes
// (ENAMETOOLONG) is refused, never cut: it would name another file.
class NarrowPath {
  public:
    explicit NarrowPath(HString const& path) noexcept;
    NarrowPath(NarrowPath const&) = delete;
    NarrowPath& operator=(NarrowPath const&) = delete;

    // 0, or why there is no such path.
    [[nodiscard]] int Error() const noexcept { return error_; }
    // Valid without an error only.
    [[nodiscard]] char* Text() noexcept { return text_; }
    [[nodiscard]] std::size_t Length() const noexcept { return length_; }
    // "/a/b//" becomes "/a/b": with a separator behind it the system would follow a symbolic link. "/" stays.
    void CutSeparatorsAtEnd() noexcept;

  private:
    char text_[PATH_MAX];
    std::size_t length_ = 0;
    int error_ = 0;
};

}  // namespace Varnok
