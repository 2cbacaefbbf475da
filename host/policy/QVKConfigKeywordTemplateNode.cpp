#include "host/policy/QVKConfigKeywordTemplateNode.h"

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

void QVKConfigKeywordTemplateNode::Encode(Varnok::ArchiveWriter& writer) const {
    QVKCommon::Encode(common, writer);
    writer.PutText(data_class_id);
    writer.PutText(data_level_id);
    writer.PutTexts(rule_ids);
}

bool QVKConfigKeywordTemplateNode::Decode(Varnok::ArchiveReader& reader) {
    data_md5.clear();
    return QVKCommon::Decode(common, reader) && reader.GetText(data_class_id) && reader.GetText(data_level_id) &&
           reader.GetTexts(rule_ids);
}
