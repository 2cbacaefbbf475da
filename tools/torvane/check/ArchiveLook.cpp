#include "tools/torvane/check/ArchiveLook.h"

#include <cstdint>
#include <cstring>

#include "host/base/LittleEndian.h"
#include "host/policy/ArchiveFile.h"
#include "tools/torvane/cache/FileView.h"

namespace torvane {

bool MayBeArchive(std::string const& path) {
    using Varnok::ArchiveHead;
    FileView const file(path);
    if (file.state() != FileView::State::kOpen) return true;
    std::uint8_t head[ArchiveHead::kSize];
    if (file.ReadAt(0, head) != ArchiveHead::kSize) return false;
    if (std::memcmp(head, ArchiveHead::kMagic, sizeof ArchiveHead::kMagic) != 0) return false;
    auto const length = Varnok::LoadLittleEndian<std::uint32_t>(head + ArchiveHead::kLengthOffset);
    return file.size() == ArchiveHead::kSize + std::uint64_t{length};
}

}  // namespace torvane
