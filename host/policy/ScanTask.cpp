#include "host/policy/ScanTask.h"

#include <cerrno>
#include <cstdint>
#include <new>
#include <string>
#include <utility>

#include "host/base/HFile.h"
#include "host/base/NeverDestroyed.h"
#include "host/base/NoThrow.h"
#include "host/base/ParentPath.h"
#include "host/policy/ArchiveFile.h"
#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

namespace {

constexpr char kTag[5] = "STSK";
constexpr std::uint32_t kRecords = 1;

std::string Encode(ScanTask const& task) {
    Varnok::ArchiveWriter writer;
    writer.PutText(task.id);
    writer.PutText(task.name);
    writer.PutInt64(task.start_time);
    writer.PutInt64(task.end_time);
    writer.PutInt64(task.handle);
    writer.PutByte(task.kind());
    writer.PutInt32(task.status);
    writer.PutText(task.note);
    task.audit_node().Encode(writer);
    return writer.bytes();
}

bool GetTime(Varnok::ArchiveReader& reader, long long& time) {
    std::int64_t value = 0;
    if (!reader.GetInt64(value)) return false;
    time = value;
    return true;
}

// Into a fresh task.
bool Decode(std::string const& body, ScanTask& task) {
    Varnok::ArchiveReader reader(body);
    return reader.GetText(task.id) && reader.GetText(task.name) && GetTime(reader, task.start_time) &&
           GetTime(reader, task.end_time) && GetTime(reader, task.handle) && reader.GetByte(*task.policy->kind) &&
           reader.GetInt32(task.status) && reader.GetText(task.note) && task.policy->audit_node->Decode(reader) &&
           reader.AtEnd();
}

int Read(HString const& path, ScanTask& task) {
    std::string body;
    std::uint32_t count = 0;
    if (int const error = Varnok::ReadArchive(path, kTag, count, body); error != 0) return error;
    ScanTask read;
    if (count != kRecords || !Decode(body, read)) return EBADMSG;
    task = std::move(read);
    return 0;
}

// As a fresh task; without memory for a new policy binding its place stays empty, which stands for the same.
void Reset(ScanTask& task) noexcept {
    ScanTask fresh{.id = {}, .name = {}, .policy = nullptr, .note = {}};
    fresh.policy = NoThrow(std::shared_ptr<ScanTaskPolicy>(), [] { return std::make_shared<ScanTaskPolicy>(); });
    task = std::move(fresh);
}

}  // namespace

QVKPolicySensitiveFileAuditNode const& ScanTask::audit_node() const noexcept {
    using Node = QVKPolicySensitiveFileAuditNode;
    static Varnok::NeverDestroyed<Node> const none(
        [](void* place) { return new (place) Node{.policy = nullptr, .tpl_ids = {}}; });  // takes no memory
    return policy && policy->audit_node ? *policy->audit_node : *none;
}

unsigned char ScanTask::kind() const noexcept {
    return policy && policy->kind ? *policy->kind : kScanTaskByPolicy;
}

int ScanTask::to_file(HString const& path) const noexcept {
    return NoThrow(ENOMEM, [&] {
        std::string const body = Encode(*this);
        int const error = Varnok::WriteArchive(path, kTag, kRecords, body);
        // The directory is nearly always there: it is looked at only when the record found no place.
        if (error != ENOENT || !Varnok::MakeDir(Varnok::ParentPath(path))) return error;
        return Varnok::WriteArchive(path, kTag, kRecords, body);
    });
}

int ScanTask::from_file(HString const& path) noexcept {
    int const error = NoThrow(ENOMEM, [&] { return Read(path, *this); });
    if (error != 0) Reset(*this);
    return error;
}
