#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// The mapping between ids and file names. An id becomes exactly one path component: "/", "%", control characters (below
// U+0020, U+007F) and a leading dot are written as "%XX", a lone surrogate as "%uXXXX" (upper-case digits), an empty id
// is "%". Every other id stays as it is. The mapping is injective: ids that differ never share a name, and no name is
// ".", ".." or holds a separator. A name longer than the file system takes (255 bytes) fails where it is used.
// Any thread; std::bad_alloc without memory.
namespace Varnok {

[[nodiscard]] TORVANE_API HString IdToFileName(HString const& id);  // the name of an id
// The id of a name that IdToFileName made; false (and `id` empty) for any other name.
[[nodiscard]] TORVANE_API bool FileNameToId(HString const& name, HString& id);

}  // namespace Varnok
