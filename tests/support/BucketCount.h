#pragma once

#include <filesystem>
#include <string>

#include "tests/support/TempRoot.h"

// Makes the ini file below `root` that tells how many buckets a new index file has: few, so that tests are fast.
// `count` need not be a number.
inline void SetBucketCount(std::string const& root, std::string const& count) {
    std::filesystem::create_directories(root + "/ini");
    WriteBytes(root + "/ini/DLPService.ini", "[DLPCache]\niIndexBucketSize=" + count + "\n");
}
