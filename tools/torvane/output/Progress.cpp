#include "tools/torvane/output/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <utility>

#include "tools/torvane/output/Escape.h"

namespace torvane {
namespace {

constexpr auto kPatience = std::chrono::seconds(1);
constexpr auto kPause = std::chrono::milliseconds(100);
constexpr unsigned kCallsPerLook = 256;
constexpr std::size_t kMostWhere = 40;

bool IsTerminal(int fd) {
    char const* const term = std::getenv("TERM");
    return ::isatty(fd) == 1 && term != nullptr && std::string_view(term) != "dumb" && *term != 0;
}

// The end of a path, which tells more than its beginning.
std::string Shortened(std::string_view where) {
    std::string printable = Printable(where);
    if (printable.size() <= kMostWhere) return printable;
    std::size_t from = printable.size() - kMostWhere;
    while (from < printable.size() && (static_cast<unsigned char>(printable[from]) & 0xC0) == 0x80)
        ++from;
    return "..." + printable.substr(from);
}

}  // namespace

Progress* Progress::current_ = nullptr;

Progress::Progress(bool wanted, std::string what)
    : Progress(wanted && IsTerminal(STDERR_FILENO), std::move(what), stderr, [] { return Clock::now(); }) {}

Progress::Progress(bool shown, std::string what, std::FILE* file, std::function<Clock::time_point()> now)
    : shown_(shown), what_(std::move(what)), file_(file), now_(std::move(now)) {
    if (!shown_) return;
    next_ = now_() + kPatience;
    current_ = this;
}

Progress::~Progress() {
    Erase();
    if (current_ == this) current_ = nullptr;
}

void Progress::At(std::uint64_t done, std::uint64_t total, std::string const& where) {
    if ((skipped_++ % kCallsPerLook) == 0) AtBlock(done, total, where);
}

void Progress::AtBlock(std::uint64_t done, std::uint64_t total, std::string const& where) {
    if (!shown_) return;
    auto const now = now_();
    if (now < next_) return;
    next_ = now + kPause;
    Show(done, total, where);
}

void Progress::Hide() {
    if (current_ != nullptr) current_->Erase();
}

void Progress::Show(std::uint64_t done, std::uint64_t total, std::string const& where) {
    std::string line("\r");
    line += Printable(what_);
    if (total > 0) line += fmt::format(" {:3.0f} %", 100.0 * static_cast<double>(done) / static_cast<double>(total));
    if (total == 0) line += fmt::format(" {}", done);
    if (!where.empty()) line.append(" ").append(Shortened(where));
    (void)std::fputs((line + "\x1b[K").c_str(), file_);
    (void)std::fflush(file_);
    visible_ = true;
}

void Progress::Erase() {
    if (!visible_) return;
    (void)std::fputs("\r\x1b[K", file_);
    (void)std::fflush(file_);
    visible_ = false;
}

}  // namespace torvane
