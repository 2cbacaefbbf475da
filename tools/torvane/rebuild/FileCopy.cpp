#include "tools/torvane/rebuild/FileCopy.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <vector>

#include "host/base/HFile.h"
#include "tools/torvane/ExitStatus.h"
#include "tools/torvane/cache/FileView.h"
#include "tools/torvane/rebuild/Interruption.h"
#include "tools/torvane/rebuild/NewFile.h"

namespace torvane {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20U;

}  // namespace

void MakeDirectory(std::string const& path) {
    if (!Varnok::MakeDir(HString(path)))
        throw Stop(ExitStatus::kIo, "cannot make " + path + ": " + std::strerror(errno));
}

bool CopyFile(std::string const& from, std::string const& to) {
    FileView const source(from);
    if (source.state() == FileView::State::kUnreadable)
        throw Stop(ExitStatus::kIo, "cannot read " + from + ": " + std::strerror(source.error()));
    if (source.state() != FileView::State::kOpen) return false;
    NewFile target(to);
    std::vector<std::uint8_t> piece(kPiece);
    std::uint64_t at = 0;
    while (std::size_t const length = source.ReadAt(at, piece)) {
        Interruption::Check();
        target.Write(piece.data(), length);
        at += length;
    }
    // Of definitions it tells since when they are in use.
    target.SetModified(source.status().st_mtim);
    target.Close();
    return true;
}

void RemoveTree(std::string const& path) noexcept {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

}  // namespace torvane
