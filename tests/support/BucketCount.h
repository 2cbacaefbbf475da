#pragma once

#include <filesystem>
#include <fstream>
#include <string>

// Makes the ini file below `root` that tells how many buckets a new index file has: few, so that tests are fast.
// `count` need not be a number. Needs nothing of the library, so that programs that see it from outside can use it.
inline void SetBucketCount(std::string const& root, std::string const& count) {
    std::filesystem::create_directories(root + "/ini");
    std::ofstream(root + "/ini/DLPService.ini") << "[DLPCache]\niIndexBucketSize=" << count << '\n';
}
