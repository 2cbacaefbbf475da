#include "tools/torvane/output/Warn.h"

#include <cstdio>

#include "tools/torvane/output/Escape.h"
#include "tools/torvane/output/Progress.h"

namespace torvane {

void Warn(std::string const& text) {
    Progress::Hide();
    std::fprintf(stderr, "torvane: %s\n", Printable(text).c_str());
}

}  // namespace torvane
