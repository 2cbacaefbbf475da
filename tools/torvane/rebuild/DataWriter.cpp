#include "tools/torvane/rebuild/DataWriter.h"

#include <algorithm>
#include <utility>

#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

constexpr std::size_t kHeld = std::size_t{1} << 20U;

}  // namespace

std::int64_t DataWriter::Append(FileView const& from, std::uint64_t offset, std::uint64_t length) {
    if (!file_) {
        file_.emplace(path_);
        bytes_.resize(kHeld);
    }
    std::uint64_t const place = std::exchange(end_, end_ + length);
    while (length > 0) {
        if (held_ == bytes_.size()) Flush();
        auto const wanted = static_cast<std::size_t>(std::min<std::uint64_t>(length, bytes_.size() - held_));
        if (from.ReadAt(offset, {bytes_.data() + held_, wanted}) != wanted)
            throw Stop(ExitStatus::kBusy, from.path() + " is being cut");
        held_ += wanted;
        offset += wanted;
        length -= wanted;
    }
    return static_cast<std::int64_t>(place);
}

void DataWriter::Flush() {
    file_->Write(bytes_.data(), std::exchange(held_, 0));
}

void DataWriter::Close() {
    if (!file_) return;
    Flush();
    file_->Close();
}

}  // namespace torvane
