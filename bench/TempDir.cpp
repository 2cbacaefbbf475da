#include "bench/TempDir.h"

#include <stdlib.h>

#include <filesystem>
#include <system_error>

#include "bench/Require.h"

namespace bench {

TempDir::TempDir() {
    path_ = (std::filesystem::temp_directory_path() / "torvane-bench-XXXXXX").string();
    Require(::mkdtemp(path_.data()) != nullptr, "no temporary directory could be made");
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

}  // namespace bench
