#include "tools/torvane/check/CountsVersion.h"

#include <algorithm>

#include "tools/torvane/cache/CacheRoot.h"

namespace torvane {

namespace {

bool IsTimeStamp(std::string const& name) {
    std::string const digits = name.substr(name.starts_with('-') ? 1 : 0);
    return !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

std::string CountsVersion(std::string const& directory) {
    std::vector<std::string> const names = NamesIn(directory);
    auto const last = std::find_if(names.rbegin(), names.rend(), IsTimeStamp);
    return last == names.rend() ? std::string() : *last;
}

}  // namespace torvane
