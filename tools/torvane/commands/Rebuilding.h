#pragma once

#include <string>

#include "tools/torvane/cli/Command.h"
#include "tools/torvane/rebuild/StoreRebuild.h"

namespace torvane {

// What `repair` and `compact` share: makes the new root in `out`, lists what was left out and says what was carried
// over. kYes; throws Stop (kNo: what is to be compacted is damaged).
ExitStatus RebuildRoot(Purpose purpose, std::string const& out, Schema const& schema, Context const& context);

}  // namespace torvane
