#pragma once

#include "host/base/HString.h"

// The header that every policy has. A value.
struct QVKPolicyCommon {
    long long time_stamp = 0;  // seconds since 1970-01-01 UTC of the last edit: the policy's version
    HString id;
    HString name;
    HString record_key;  // under which found-times are counted; policies that count apart differ in it
};
