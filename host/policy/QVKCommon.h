#pragma once

#include "host/base/Export.h"
#include "host/base/HString.h"

// What every definition record has in common.
struct TORVANE_API QVKCommon {
    long long update_time = 0;  // seconds since 1970-01-01 UTC of the last edit; carried only
    HString id;
    HString name;
};
