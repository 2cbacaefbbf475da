// A library without a SONAME that needs another one and exports a function of no public class: check_library must
// refuse it.
#include "host/base/Export.h"

extern "C" char const* zlibVersion();

TORVANE_API char const* Leak();

char const* Leak() {
    return zlibVersion();
}
