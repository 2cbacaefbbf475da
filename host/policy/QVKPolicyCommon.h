#pragma once

#include "host/base/HString.h"

// The header that every policy has. A value.
struct QVKPolicyCommon {
    long long time_stamp = 0;  // seconds since 1970-01-01 UTC of the last edit: the policy's version
    HString id;
    HString name;
    HString record_key;  // found-times under one key are counted one after the other, those of others meanwhile
};
