#pragma once

#include <span>

#include "host/base/HString.h"
#include "host/policy/QVKConfigKeywordTemplateNode.h"

namespace DLPCache {

// The template file of a definition snapshot in `directory` (which ends in a separator). Its presence means that the
// snapshot is complete.
[[nodiscard]] HString TplSnapshotFile(HString const& directory);

// Writes the snapshot of the templates and of all that they depend on in the process-wide definitions (rules, data
// classes, data levels, each sorted by id, once) into `directory`, the template file last. The rules of a record that
// those definitions have handed out are the ones of its time, also when they were replaced since; never null. Writes
// nothing when that file exists. A missing data class or level is logged and left out. 0 on success, else the errno of
// the first file that failed.
int WriteTplSnapshot(std::span<QVKConfigKeywordTemplateNode const* const> templates, HString const& directory) noexcept;

}  // namespace DLPCache
