#include "host/policy/QVKKeywordText.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "host/base/NoThrow.h"
#include "host/policy/ArchiveFile.h"
#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

namespace {

constexpr char kTag[5] = "KTXT";
constexpr std::uint32_t kRecords = 1;  // in a file
constexpr std::uint8_t kVersion = 1;
constexpr std::size_t kLeastSize = 29;      // version, five texts' counts and two counts
constexpr std::size_t kPositionBytes = 8;   // start, end
constexpr std::size_t kLeastLineBytes = 8;  // line, count

std::size_t EncodedSize(QVKKeywordText const& record) noexcept {
    std::size_t units = 0;
    for (HString const* text :
         {&record.tpl_id, &record.text, &record.text_path, &record.second_text, &record.second_text_path})
        units += text->view().size();
    std::size_t positions = record.second_positions.size();
    for (QVKKeywordLinePos const& line : record.line_positions)
        positions += line.positions.size();
    return kLeastSize + units * sizeof(char16_t) + record.line_positions.size() * kLeastLineBytes +
           positions * kPositionBytes;
}

void PutPositions(Varnok::ArchiveWriter& writer, std::vector<QVKKeywordPos> const& positions) {
    writer.PutCount(positions.size());
    for (QVKKeywordPos const& position : positions) {
        writer.PutInt32(position.start);
        writer.PutInt32(position.end);
    }
}

bool GetPositions(Varnok::ArchiveReader& reader, std::vector<QVKKeywordPos>& positions) {
    std::size_t count = 0;
    if (!reader.GetCount(count, kPositionBytes)) return false;
    positions.resize(count);
    for (QVKKeywordPos& position : positions) {
        if (!reader.GetInt32(position.start) || !reader.GetInt32(position.end)) return false;
    }
    return true;
}

bool GetLines(Varnok::ArchiveReader& reader, std::vector<QVKKeywordLinePos>& lines) {
    std::size_t count = 0;
    if (!reader.GetCount(count, kLeastLineBytes)) return false;
    lines.resize(count);
    for (QVKKeywordLinePos& line : lines) {
        if (!reader.GetInt32(line.line) || !GetPositions(reader, line.positions)) return false;
    }
    return true;
}

void Encode(QVKKeywordText const& record, Varnok::ArchiveWriter& writer) {
    writer.PutByte(kVersion);
    writer.PutText(record.tpl_id);
    writer.PutCount(record.line_positions.size());
    for (QVKKeywordLinePos const& line : record.line_positions) {
        writer.PutInt32(line.line);
        PutPositions(writer, line.positions);
    }
    writer.PutText(record.text);
    writer.PutText(record.text_path);
    writer.PutText(record.second_text);
    writer.PutText(record.second_text_path);
    PutPositions(writer, record.second_positions);
}

bool Decode(std::string_view bytes, QVKKeywordText& record) {
    Varnok::ArchiveReader reader(bytes);
    std::uint8_t version = 0;
    if (!reader.GetByte(version) || version != kVersion) return false;
    if (!reader.GetText(record.tpl_id) || !GetLines(reader, record.line_positions)) return false;
    if (!reader.GetText(record.text) || !reader.GetText(record.text_path)) return false;
    if (!reader.GetText(record.second_text) || !reader.GetText(record.second_text_path)) return false;
    return GetPositions(reader, record.second_positions) && reader.AtEnd();
}

}  // namespace

void QVKKeywordText::reset_to_default() noexcept {
    *this = QVKKeywordText();
}

bool QVKKeywordText::to_buffer(char*& buf, long long& len) const noexcept {
    buf = nullptr;
    len = 0;
    return NoThrow(false, [&] {
        Varnok::ArchiveWriter writer(EncodedSize(*this));
        Encode(*this, writer);
        std::string const& bytes = writer.bytes();
        buf = new char[bytes.size()];
        len = static_cast<long long>(bytes.size());
        std::memcpy(buf, bytes.data(), bytes.size());
        return true;
    });
}

bool QVKKeywordText::from_buffer(char const* buf, long long len) noexcept {
    bool const decoded = NoThrow(false, [&] { return decode(buf, len); });
    if (!decoded) reset_to_default();
    return decoded;
}

bool QVKKeywordText::decode(char const* buf, long long len) {
    reset_to_default();
    if (buf == nullptr || len <= 0) return false;
    if (Decode(std::string_view(buf, static_cast<std::size_t>(len)), *this)) return true;
    reset_to_default();
    return false;
}

int QVKKeywordText::to_file(HString const& path) const noexcept {
    return NoThrow(ENOMEM, [&] {
        Varnok::ArchiveWriter writer(EncodedSize(*this));
        Encode(*this, writer);
        return Varnok::WriteArchive(path, kTag, kRecords, writer.bytes());
    });
}

int QVKKeywordText::from_file(HString const& path) noexcept {
    int const error = NoThrow(ENOMEM, [&] {
        std::string body;
        std::uint32_t count = 0;
        if (int const unread = Varnok::ReadArchive(path, kTag, count, body); unread != 0) return unread;
        return count == kRecords && decode(body.data(), static_cast<long long>(body.size())) ? 0 : EBADMSG;
    });
    if (error != 0) reset_to_default();
    return error;
}
