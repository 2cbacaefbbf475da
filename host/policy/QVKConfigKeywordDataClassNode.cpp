#include "host/policy/QVKConfigKeywordDataClassNode.h"

#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

void QVKConfigKeywordDataClassNode::Encode(Varnok::ArchiveWriter& writer) const {
    QVKCommon::Encode(common, writer);
}

bool QVKConfigKeywordDataClassNode::Decode(Varnok::ArchiveReader& reader) {
    return QVKCommon::Decode(common, reader);
}
