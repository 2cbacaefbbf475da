#pragma once

#include "host/base/HString.h"

// Where a template cache lies: <template path>/<template id>/<template MD5>/, each name made by Varnok::IdToFileName.
namespace DLPCache {

// The directory, ending in a separator. Throws std::bad_alloc; never empty.
[[nodiscard]] HString TplDirectory(HString const& tpl_id, HString const& md5);

// Makes the directory (mode 0700). False when it could not be made, or when a symbolic link stands in its or the
// template's place: neither is ever followed.
[[nodiscard]] bool MakeTplDirectory(HString const& tpl_id, HString const& md5);

// Deletes the directory with all that it holds, its template file first: what an interrupted deletion leaves behind is
// incomplete and goes with the next start. `tpl_file` is its path (DLPCache::TplSnapshotFile). 0 or the errno of what
// could not be deleted.
int DeleteTplDirectory(HString const& directory, HString const& tpl_file) noexcept;
int DeleteTplDirectory(HString const& directory);  // throws std::bad_alloc, before anything is deleted

}  // namespace DLPCache
