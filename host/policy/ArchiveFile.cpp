#include "host/policy/ArchiveFile.h"

#include <cerrno>
#include <utility>

#include "host/base/Crc32.h"
#include "host/base/HFile.h"
#include "host/base/LittleEndian.h"
#include "host/base/NoThrow.h"

namespace Varnok {
namespace {

constexpr std::size_t kFieldSize = sizeof(std::uint32_t);

void AppendField(std::string& content, std::uint32_t value) {
    std::uint8_t field[kFieldSize];
    StoreLittleEndian(value, field);
    content.append(reinterpret_cast<char const*>(field), kFieldSize);
}

std::uint32_t FieldAt(std::string const& content, std::size_t offset) noexcept {
    return LoadLittleEndian<std::uint32_t>(reinterpret_cast<std::uint8_t const*>(content.data()) + offset);
}

bool HasCharacters(std::string const& content, std::size_t offset, char const* characters) noexcept {
    return content.compare(offset, kFieldSize, characters, kFieldSize) == 0;
}

}  // namespace

std::string PackArchive(char const (&tag)[5], std::uint32_t count, std::string_view body) {
    std::string content;
    content.reserve(ArchiveHead::kSize + body.size());
    content.append(ArchiveHead::kMagic, kFieldSize);
    AppendField(content, ArchiveHead::kVersion);
    content.append(tag, kFieldSize);
    AppendField(content, count);
    AppendField(content, static_cast<std::uint32_t>(body.size()));
    content.append(body);
    // The checksum covers what is there so far; it goes between head and body.
    std::string checksum;
    AppendField(checksum, Crc32(content.data(), content.size()));
    content.insert(ArchiveHead::kCrcOffset, checksum);
    return content;
}

bool UnpackArchive(std::string& content, char const (&tag)[5], std::uint32_t& count) {
    if (content.size() < ArchiveHead::kSize) return false;
    if (!HasCharacters(content, 0, ArchiveHead::kMagic)) return false;
    if (FieldAt(content, ArchiveHead::kVersionOffset) != ArchiveHead::kVersion) return false;
    if (!HasCharacters(content, ArchiveHead::kTagOffset, tag)) return false;
    if (FieldAt(content, ArchiveHead::kLengthOffset) != content.size() - ArchiveHead::kSize) return false;
    std::uint32_t const claimed_count = FieldAt(content, ArchiveHead::kCountOffset);
    std::uint32_t const checksum = FieldAt(content, ArchiveHead::kCrcOffset);
    content.erase(ArchiveHead::kCrcOffset, kFieldSize);
    if (Crc32(content.data(), content.size()) != checksum) return false;
    content.erase(0, ArchiveHead::kCrcOffset);
    count = claimed_count;
    return true;
}

int WriteArchive(HString const& path, char const (&tag)[5], std::uint32_t count, std::string_view body) noexcept {
    return NoThrow(ENOMEM, [&] {
        if (body.size() > kMaxArchiveSize - ArchiveHead::kSize) return EFBIG;
        std::string const content = PackArchive(tag, count, body);
        return HFile::replace_file(path, content.data(), content.size());
    });
}

int ReadArchive(HString const& path, char const (&tag)[5], std::uint32_t& count, std::string& body) noexcept {
    return NoThrow(ENOMEM, [&] {
        std::string content;
        int const failed = HFile::read_file(path, content, kMaxArchiveSize);
        if (failed == EFBIG) return EBADMSG;
        if (failed != 0) return failed;
        if (!UnpackArchive(content, tag, count)) return EBADMSG;
        body = std::move(content);
        return 0;
    });
}

}  // namespace Varnok
