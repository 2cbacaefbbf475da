#pragma once

#include "host/base/HString.h"

namespace Varnok {

// The directory that a path's last name lies in, with a separator at its end; empty when the path is a name alone.
// Separators at the path's own end do not count: "/a/b/" lies in "/a/". Throws std::bad_alloc only.
[[nodiscard]] HString ParentPath(HString path);

}  // namespace Varnok
