#include "tests/support/SoundRoot.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

bool not_sound = false;  // of this process, which runs one test

#ifdef TORVANE_PROGRAM

namespace fs = std::filesystem;

constexpr int kSound = 0;    // the program's exit statuses
constexpr int kNoCache = 4;  // a test may keep a directory "cache" of its own
constexpr int kBusy = 5;     // a writer thread of this process still works

std::string Quoted(std::string const& path) {
    return "'" + path + "'";
}

void ExpectSound(std::string const& root) {
    std::string const command = Quoted(TORVANE_PROGRAM) + " verify --color never --root " + Quoted(root) + " 2>&1";
    std::FILE* const pipe = ::popen(command.c_str(), "re");
    ASSERT_NE(pipe, nullptr);
    std::string said;
    std::array<char, 4096> block{};
    while (std::size_t const size = std::fread(block.data(), 1, block.size(), pipe))
        said.append(block.data(), size);
    int const status = ::pclose(pipe);
    ASSERT_TRUE(WIFEXITED(status)) << said;
    int const answer = WEXITSTATUS(status);
    EXPECT_TRUE(answer == kSound || answer == kNoCache || answer == kBusy)
        << "the test leaves a cache that is not sound (status " << answer << "):\n"
        << said;
}

void ExpectSoundIfCache(std::string const& root) {
    std::error_code error;
    if (fs::is_directory(root + "/cache", error)) ExpectSound(root);
}

#endif

}  // namespace

void NotSound() {
    not_sound = true;
}

void NotSoundWhenInCache(std::string const& path) {
    if (path.find("/cache/") != std::string::npos) NotSound();
}

void ExpectSoundRoots(std::string const& directory) {
#ifdef TORVANE_PROGRAM
    if (not_sound || testing::Test::HasFailure()) return;
    ExpectSoundIfCache(directory);
    std::error_code error;
    for (auto const& entry : fs::directory_iterator(directory, error))
        ExpectSoundIfCache(entry.path());
#else
    (void)directory;
#endif
}
