// A library without a SONAME that exports a function of no public class: check_library must refuse it.
#include "host/base/Export.h"

TORVANE_API int Leak();

int Leak() { return 1; }
