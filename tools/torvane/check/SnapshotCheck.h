#pragma once

#include <string>

#include "tools/torvane/check/ChangeWatch.h"
#include "tools/torvane/check/DirectoryCheck.h"
#include "tools/torvane/check/Finding.h"

namespace torvane {

// The definition snapshot in a store's directory: each of its archives can be read.
// `directory` is `root` + "/" + the check's name. Expects the four files. `lost`: with one that is missing beside the
// template file, which comes last. True when none of those that are there is damaged.
bool CheckSnapshotFiles(std::string const& root, DirectoryCheck& directory, char const* lost, FindingList& list,
                        ChangeWatch& watch);

// Whether they are of the definitions with this MD5 of this template. To be called when they are sound.
void CheckSnapshotMd5(std::string const& root, std::string const& directory, std::string const& tpl_id,
                      std::string const& md5, FindingList& list);

}  // namespace torvane
