#include "host/policy/QVKCommon.h"

#include <utility>

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

void QVKCommon::Encode(std::shared_ptr<QVKCommon> const& common, Varnok::ArchiveWriter& writer) {
    QVKCommon const none;
    QVKCommon const& fields = common ? *common : none;
    writer.PutInt64(fields.update_time);
    writer.PutText(fields.id);
    writer.PutText(fields.name);
}

bool QVKCommon::Decode(std::shared_ptr<QVKCommon>& common, Varnok::ArchiveReader& reader) {
    auto read = std::make_shared<QVKCommon>();
    std::int64_t update_time = 0;
    if (!(reader.GetInt64(update_time) && reader.GetText(read->id) && reader.GetText(read->name))) return false;
    read->update_time = update_time;
    common = std::move(read);
    return true;
}
