#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

// Things that can stand in a file's place and can never be read as one, whatever the rights.
inline constexpr char const* kNoFiles[] = {"link", "directory", "FIFO"};

// Puts one of them there, in place of what may be there. The link names a file that can be read, `target`.
inline void PutNoFile(std::string const& kind, std::string const& path, std::string const& target) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::filesystem::remove_all(path);
    if (kind == "link") {
        std::filesystem::create_symlink(target, path);
    } else if (kind == "directory") {
        std::filesystem::create_directory(path);
    } else {
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    }
}
