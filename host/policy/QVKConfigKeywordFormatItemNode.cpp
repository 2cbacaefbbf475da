#include "host/policy/QVKConfigKeywordFormatItemNode.h"

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

void QVKConfigKeywordFormatItemNode::Encode(Varnok::ArchiveWriter& writer) const {
    QVKCommon::Encode(common, writer);
    writer.PutInt32(sub_type);
    writer.PutInt32(rule_type);
    writer.PutText(rule_text);
    writer.PutText(description);
    writer.PutInt32(min_count);
}

bool QVKConfigKeywordFormatItemNode::Decode(Varnok::ArchiveReader& reader) {
    return QVKCommon::Decode(common, reader) && reader.GetInt32(sub_type) && reader.GetInt32(rule_type) &&
           reader.GetText(rule_text) && reader.GetText(description) && reader.GetInt32(min_count);
}
