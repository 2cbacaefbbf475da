#include "tests/support/SoundRoot.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

std::atomic<bool> not_sound = false;  // of this process, which runs one test; any thread may say so

#ifdef TORVANE_PROGRAM

namespace fs = std::filesystem;

constexpr int kSound = 0;  // the program's exit statuses
constexpr int kBusy = 5;
constexpr int kMostLooks = 100;  // while a writer thread of this process still works

std::string Quoted(std::string const& path) {
    return "'" + path + "'";
}

// Its exit status; what it said goes to `said`.
int Verify(std::string const& root, std::string& said) {
    std::string const command = Quoted(TORVANE_PROGRAM) + " verify --color never --root " + Quoted(root) + " 2>&1";
    std::FILE* const pipe = ::popen(command.c_str(), "re");
    if (pipe == nullptr) return -1;
    said.clear();
    std::array<char, 4096> block{};
    while (std::size_t const size = std::fread(block.data(), 1, block.size(), pipe))
        said.append(block.data(), size);
    int const status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ExpectSound(std::string const& root) {
    std::string said;
    int status = kBusy;
    for (int look = 0; look < kMostLooks && status == kBusy; ++look)
        status = Verify(root, said);
    EXPECT_EQ(status, kSound) << "the test leaves a cache that is not sound:\n" << said;
}

// A stamp is in every cache that a library has opened; without one it is looked for where tests have their roots.
bool HasStamp(std::string const& directory) {
    std::error_code error;
    return fs::is_regular_file(directory + "/cache/Version.ini", error);
}

bool HasCache(std::string const& directory) {
    std::error_code error;
    return fs::is_directory(directory + "/cache", error);
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
    if (HasCache(directory)) ExpectSound(directory);
    std::error_code error;
    constexpr auto kAll = fs::directory_options::skip_permission_denied;
    fs::recursive_directory_iterator entry(directory, kAll, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (entry->is_symlink(error) || !entry->is_directory(error)) continue;
        if (HasStamp(entry->path()) || (entry.depth() == 0 && HasCache(entry->path()))) ExpectSound(entry->path());
    }
#else
    (void)directory;
#endif
}
