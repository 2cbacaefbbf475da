#include "tools/torvane/log/LogFollower.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <utility>

#include "tools/torvane/ExitStatus.h"

namespace torvane {
namespace {

constexpr std::size_t kBlock = std::size_t{64} << 10;

}  // namespace

LogFollower::LogFollower(std::string path) : path_(std::move(path)) {
    Open();
}

void LogFollower::Open() {
    FileView opened(path_);
    switch (opened.state()) {
        case FileView::State::kForeign:
            throw Stop(ExitStatus::kIo, path_ + ": is no regular file");
        case FileView::State::kUnreadable:
            throw Stop(ExitStatus::kIo, path_ + ": " + std::strerror(opened.error()));
        case FileView::State::kMissing:
            return;
        case FileView::State::kOpen:
            break;
    }
    file_ = std::move(opened);
    GoTo(0);
}

void LogFollower::GoTo(std::uint64_t position) {
    position_ = position;
    line_start_ = position;
    passed_over_ = 0;
    unfinished_.clear();
}

void LogFollower::GoToLast(std::uint64_t count, Filter const& passes) {
    std::deque<std::uint64_t> starts;
    auto const note = [&](std::string_view line) {
        if (!passes(line)) return;
        starts.push_back(line_start_);
        if (starts.size() > count) starts.pop_front();
    };
    if (!IsOpen()) return;
    ReadFile(note);
    if (!unfinished_.empty()) note(unfinished_);
    // The unfinished line is read again with the rest of it.
    std::uint64_t const line_start = line_start_;
    std::uint64_t const end = position_;
    GoTo(starts.empty() ? line_start : starts.front());
    if (starts.empty()) passed_over_ = end;
}

void LogFollower::Read(Sink const& sink) {
    if (!IsOpen()) Open();
    if (!IsOpen()) return;
    if (IsCut()) GoTo(0);
    ReadFile(sink);
    if (!IsRotated()) return;
    ReadFile(sink);  // what was written between the look and the renaming
    ReadUnfinished(sink);
    file_ = FileView();
    Open();
    if (IsOpen()) ReadFile(sink);
}

void LogFollower::ReadUnfinished(Sink const& sink) {
    if (!unfinished_.empty() && position_ > passed_over_) sink(unfinished_);
    unfinished_.clear();
}

void LogFollower::ReadFile(Sink const& sink) {
    std::array<std::uint8_t, kBlock> block;
    for (;;) {
        std::size_t const count = file_.ReadAt(position_, block);
        if (count == 0) return;
        Take({reinterpret_cast<char const*>(block.data()), count}, sink);
    }
}

void LogFollower::Take(std::string_view bytes, Sink const& sink) {
    while (!bytes.empty()) {
        std::size_t const end = bytes.find('\n');
        std::string_view const piece = bytes.substr(0, end);
        unfinished_ += piece.substr(0, kMostLine - std::min(kMostLine, unfinished_.size()));
        std::size_t const taken = end == std::string_view::npos ? piece.size() : end + 1;
        bytes.remove_prefix(taken);
        position_ += taken;
        if (end == std::string_view::npos) return;
        sink(unfinished_);
        unfinished_.clear();
        line_start_ = position_;
    }
}

// Whether the path names another file than the open one. No file at all: the new one is about to be made.
bool LogFollower::IsRotated() const {
    struct stat named {};
    if (::lstat(path_.c_str(), &named) != 0) return false;
    return named.st_dev != file_.status().st_dev || named.st_ino != file_.status().st_ino;
}

bool LogFollower::IsCut() const {
    struct stat named {};
    return ::lstat(path_.c_str(), &named) == 0 && named.st_ino == file_.status().st_ino &&
           named.st_dev == file_.status().st_dev && static_cast<std::uint64_t>(named.st_size) < position_;
}

}  // namespace torvane
