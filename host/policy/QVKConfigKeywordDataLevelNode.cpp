#include "host/policy/QVKConfigKeywordDataLevelNode.h"

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

void QVKConfigKeywordDataLevelNode::Encode(Varnok::ArchiveWriter& writer) const {
    QVKCommon::Encode(common, writer);
    writer.PutInt32(level);
}

bool QVKConfigKeywordDataLevelNode::Decode(Varnok::ArchiveReader& reader) {
    return QVKCommon::Decode(common, reader) && reader.GetInt32(level);
}
