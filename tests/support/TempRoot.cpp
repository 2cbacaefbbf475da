#include "tests/support/TempRoot.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "host/base/LocateMgr.h"

TempRoot::TempRoot() : path_((std::filesystem::temp_directory_path() / "torvane-test-XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) {
        ADD_FAILURE() << "cannot make " << path_;
        std::abort();
    }
    Varnok::LocateMgr::pins()->set_root(path_);
}

TempRoot::~TempRoot() {
    ExpectSoundRoots(path_);
    std::error_code error;
    std::filesystem::remove_all(path_, error);
    EXPECT_FALSE(error) << path_ << ": " << error.message();
}

std::string ReadBytes(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteBytes(std::string const& path, std::string const& bytes) {
    NotSoundWhenInCache(path);
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    EXPECT_TRUE(file.good()) << path;
}

std::string FromHex(std::string const& hex) {
    std::string bytes;
    std::string digits;
    for (char const c : hex) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0) continue;
        EXPECT_NE(std::isxdigit(static_cast<unsigned char>(c)), 0) << hex;
        digits += c;
        if (digits.size() < 2) continue;
        bytes += static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16));
        digits.clear();
    }
    EXPECT_TRUE(digits.empty()) << "half a byte: " << hex;
    return bytes;
}

bool Exists(std::string const& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

std::vector<std::string> Files(std::string const& directory) {
    std::vector<std::string> names;
    if (!Exists(directory)) return names;
    for (auto const& entry : std::filesystem::directory_iterator(directory))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}
