#include "host/policy/QVKPolicySensitiveFileAuditNode.h"

#include <cstdint>
#include <new>
#include <utility>

#include "host/base/NeverDestroyed.h"
#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

QVKPolicyCommon const& QVKPolicySensitiveFileAuditNode::header() const noexcept {
    static Varnok::NeverDestroyed<QVKPolicyCommon> const none([](void* place) { return new (place) QVKPolicyCommon; });
    return policy ? *policy : *none;
}

void QVKPolicySensitiveFileAuditNode::Encode(Varnok::ArchiveWriter& writer) const {
    QVKPolicyCommon const& fields = header();
    writer.PutInt64(fields.time_stamp);
    writer.PutText(fields.id);
    writer.PutText(fields.name);
    writer.PutText(fields.record_key);
    writer.PutTexts(tpl_ids);
    writer.PutInt32(flags);
    writer.PutByte(keep ? 1 : 0);
}

bool QVKPolicySensitiveFileAuditNode::Decode(Varnok::ArchiveReader& reader) {
    auto fields = std::make_shared<QVKPolicyCommon>();
    std::int64_t time_stamp = 0;
    std::uint8_t keeps = 0;
    bool const read = reader.GetInt64(time_stamp) && reader.GetText(fields->id) && reader.GetText(fields->name) &&
                      reader.GetText(fields->record_key) && reader.GetTexts(tpl_ids) && reader.GetInt32(flags) &&
                      reader.GetByte(keeps);
    if (!read || keeps > 1) return false;
    fields->time_stamp = time_stamp;
    policy = std::move(fields);
    keep = keeps == 1;
    return true;
}
