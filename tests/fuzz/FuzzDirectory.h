#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

#include "tests/fuzz/FuzzCheck.h"

// A directory for the files that a fuzz target needs: in memory where the system has such a place, removed when the
// process ends as it should.
class FuzzDirectory {
  public:
    FuzzDirectory() {
        bool const in_memory = std::filesystem::is_directory("/dev/shm");
        path_ = (in_memory ? "/dev/shm" : std::filesystem::temp_directory_path().string()) + "/torvane-fuzz-XXXXXX";
        FUZZ_CHECK(mkdtemp(path_.data()) != nullptr);
    }
    ~FuzzDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    FuzzDirectory(FuzzDirectory const&) = delete;
    FuzzDirectory& operator=(FuzzDirectory const&) = delete;

    // The path of a file here with this content.
    std::string File(char const* name, std::string_view content) const {
        std::string path = path_ + "/" + name;
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(content.data(), static_cast<std::streamsize>(content.size()));
        file.close();
        FUZZ_CHECK(file.good());
        return path;
    }

  private:
    std::string path_;
};
