#include "tools/torvane/cache/Records.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include "template/DLPCacheTplNode.h"
#include "tools/torvane/ExitStatus.h"

namespace torvane {

namespace {

// The decoders take what they do not change as if they did.
bool Decode(DLPCache::SerialBasic& record, RecordBytes bytes) {
    auto* const begin = const_cast<std::uint8_t*>(bytes.data());
    return record.FromBuffer(begin, static_cast<int>(bytes.size()));
}

std::string CheckDecoded(DLPCache::SerialBasic& record, RecordBytes bytes) {
    if (!Decode(record, bytes)) return "record cannot be decoded";
    if (record.Size() == static_cast<int>(bytes.size())) return {};
    return "record of " + std::to_string(bytes.size()) + " bytes says it has " + std::to_string(record.Size());
}

// The bytes of a record that are not its text.
std::int64_t SizeWithoutText(DLPCache::TplNode const& node) {
    std::int64_t size = 4 + 2 + 4 + 4 * static_cast<std::int64_t>(node.rules.size());
    size += 2LL * (node.reserved.length() + 1LL) + 2LL * (node.stored_name.length() + 1LL);
    for (auto const& rule : node.rules)
        size += rule->Size();
    return size;
}

// A text has exactly one form, so one that was read encodes to as many bytes.
bool IsText(QVKKeywordText const& text, std::int64_t bytes) {
    char* buffer = nullptr;
    long long length = 0;
    bool const encoded = text.to_buffer(buffer, length);
    std::unique_ptr<char[]> const owner(buffer);
    return encoded && length == bytes;
}

std::string Describe(int error, std::string const& path) {
    if (error == 0) return {};
    if (error == ENOENT) return "missing";
    // What stands there is none of the library's files.
    if (error == EBADMSG || error == ELOOP || error == EISDIR || error == ENXIO) return "damaged or foreign";
    throw Stop(ExitStatus::kIo, "cannot read " + path + ": " + std::strerror(error));
}

// Refused before the library opens it: a link, a directory, a FIFO.
std::string CheckPlace(std::string const& path) {
    FileView const file(path);
    file.RequireReadable();
    if (file.state() == FileView::State::kForeign) return "damaged or foreign";
    return file.state() == FileView::State::kMissing ? "missing" : std::string();
}

}  // namespace

bool LiesWithin(Slot const& slot, std::uint64_t data_size) {
    if (slot.offset < 0 || slot.length < 0) return false;
    auto const offset = static_cast<std::uint64_t>(slot.offset);
    return offset <= data_size && static_cast<std::uint64_t>(slot.length) <= data_size - offset;
}

std::string ReadRecord(FileView const& data, Slot const& slot, std::vector<std::uint8_t>& bytes) {
    bytes.clear();
    data.RequireReadable();
    if (data.state() == FileView::State::kMissing) return "data file is missing";
    if (data.state() == FileView::State::kForeign) return "what stands in the data file's place is no file";
    if (!LiesWithin(slot, data.SizeNow())) return "record lies outside its data file";
    bytes.resize(static_cast<std::size_t>(slot.length));
    std::size_t const got = data.ReadAt(static_cast<std::uint64_t>(slot.offset), bytes);
    if (got == bytes.size()) return {};
    bytes.clear();
    return "record lies outside its data file";
}

std::string DecodeAnswer(RecordBytes bytes, AnswerRecord& answer) {
    DLPCache::TplNode node;
    if (std::string wrong = CheckDecoded(node, bytes); !wrong.empty()) return wrong;
    answer.stored_name = node.stored_name.get_str();
    answer.text_bytes = static_cast<std::int64_t>(bytes.size()) - SizeWithoutText(node);
    QVKReportKeywordAttachNode attached;
    if (!node.GetKeywordAttach(attached, answer.text)) return "record of a fingerprint rule, which is not given back";
    answer.rules = std::move(attached.items);
    answer.text_damaged = !IsText(answer.text, answer.text_bytes);
    return answer.text_damaged ? "text of the record cannot be decoded" : "";
}

std::string DecodeFinding(RecordBytes bytes, DLPCache::SensFileNode& finding) {
    return CheckDecoded(finding, bytes);
}

std::string DecodeCounts(RecordBytes bytes, DLPCache::SensRecordNode& counts) {
    return CheckDecoded(counts, bytes);
}

std::string ReadTask(std::string const& directory, ScanTask& task) {
    std::string const path = directory + "/ScanTask.arc";
    std::string wrong = CheckPlace(path);
    if (wrong.empty()) wrong = Describe(task.from_file(HString(path)), path);
    return wrong.empty() ? wrong : "task record is " + wrong;
}

std::string ReadText(std::string const& path, QVKKeywordText& text) {
    std::string wrong = CheckPlace(path);
    if (wrong.empty()) wrong = Describe(text.from_file(HString(path)), path);
    return wrong.empty() ? wrong : "text is " + wrong;
}

}  // namespace torvane
