#include "template/DLPCacheDNARuleNode.h"

#include <limits>

#include "host/base/Reader.h"
#include "host/base/Writer.h"
#include "template/DLPCacheTplLog.h"

namespace DLPCache {

namespace {

constexpr int kNoLimit = -1;

}  // namespace

int DNARuleNode::Size() const {
    int const base = RuleNode::Size();
    long long const size = base + 4LL + 2LL * (dna_text.length() + 1LL);
    return base <= 0 || size > std::numeric_limits<int>::max() ? 0 : static_cast<int>(size);
}

bool DNARuleNode::Write(Varnok::Writer* w) {
    if (!RuleNode::Write(w)) return kTplLog.Failed("Write", 160, kAssertFalse, false);
    if (int const n = w->write_int32(dna_value); n != 4)
        return kTplLog.Failed("Write", 162, kAssertWriteInt32, n, false);
    if (!WriteHString(w, dna_text, kNoLimit)) return kTplLog.Failed("Write", 163, kAssertFalse, false);
    return true;
}

bool DNARuleNode::Read(Varnok::Reader* r, int size) {
    if (!RuleNode::Read(r, size)) return kTplLog.Failed("Read", 170, kAssertFalse, false);
    if (int const n = r->read_int32(dna_value); n != 4) return kTplLog.Failed("Read", 172, kAssertReadInt32, n, false);
    if (!ReadHString(r, dna_text, kNoLimit)) return kTplLog.Failed("Read", 173, kAssertFalse, false);
    return true;
}

bool DNARuleNode::GetKeywordAttachItem(QVKReportKeywordAttachItem& item) {
    if (!RuleNode::GetKeywordAttachItem(item)) return kTplLog.Failed("GetKeywordAttachItem", 135, kAssertFalse, false);
    item.dna_value = dna_value;
    return false;
}

bool DNARuleNode::GiveKeywordAttachItem(QVKReportKeywordAttachItem& item) noexcept {
    (void)RuleNode::GiveKeywordAttachItem(item);
    item.dna_value = dna_value;
    return false;
}

bool DNARuleNode::SetKeywordAttachItem(QVKReportKeywordAttachItem const& item) {
    if (!RuleNode::SetKeywordAttachItem(item)) return kTplLog.Failed("SetKeywordAttachItem", 144, kAssertFalse, false);
    dna_value = item.dna_value;
    return false;
}

}  // namespace DLPCache
