#include "examples/scanner/Progress.h"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace scanner {
namespace {

constexpr std::size_t kWidth = 40;

}  // namespace

Progress::Progress(std::size_t total) : total_(total), on_(total > 0 && ::isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
    if (on_) std::fputs("\r\x1b[K", stderr);
}

void Progress::Draw(std::size_t done) const {
    if (!on_) return;
    std::size_t const filled = done * kWidth / total_;
    std::string const bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r[%s] %zu of %zu files", bar.c_str(), done, total_);
    std::fflush(stderr);
}

}  // namespace scanner
