#include "template/DLPCacheRuleNode.h"

#include <limits>
#include <new>
#include <utility>

#include "host/base/NoThrow.h"
#include "host/base/Reader.h"
#include "host/base/Writer.h"
#include "template/DLPCacheDNARuleNode.h"
#include "template/DLPCacheTplLog.h"

namespace DLPCache {

namespace {

constexpr int kNoLimit = -1;
constexpr int kHeadSize = 8;  // sub-type and body length

}  // namespace

int RuleNode::Size() const {
    long long size = kHeadSize + 8;  // and the match count
    for (HString const* text : {&rule_id, &match_text_2, &match_text_1, &file_short_name, &match_text_3}) {
        size += 2LL * (text->length() + 1LL);
    }
    return size > std::numeric_limits<int>::max() ? 0 : static_cast<int>(size);
}

bool RuleNode::Write(Varnok::Writer* w) {
    if (!w) return kTplLog.Failed("Write", 74, kAssertNull, false);
    if (int const n = w->write_int32(sub_type); n != 4) return kTplLog.Failed("Write", 76, kAssertWriteInt32, n, false);
    int const body_length = Size() - kHeadSize;
    if (int const n = w->write_int32(body_length); n != 4) {
        return kTplLog.Failed("Write", 79, kAssertWriteInt32, n, false);
    }
    if (!WriteHString(w, rule_id, kNoLimit)) return kTplLog.Failed("Write", 81, kAssertFalse, false);
    if (int const n = w->write_int64(match_count); n != 8) {
        return kTplLog.Failed("Write", 82, kAssertWriteInt64, n, false);
    }
    if (!WriteHString(w, match_text_2, kNoLimit)) return kTplLog.Failed("Write", 83, kAssertFalse, false);
    if (!WriteHString(w, match_text_1, kNoLimit)) return kTplLog.Failed("Write", 84, kAssertFalse, false);
    if (!WriteHString(w, file_short_name, kNoLimit)) return kTplLog.Failed("Write", 85, kAssertFalse, false);
    if (!WriteHString(w, match_text_3, kNoLimit)) return kTplLog.Failed("Write", 86, kAssertFalse, false);
    return true;
}

bool RuleNode::Read(Varnok::Reader* r, int size) {
    if (!r) return kTplLog.Failed("Read", 93, kAssertNull, false);
    int body_length = 0;
    if (int const n = r->read_int32(body_length); n != 4) {
        return kTplLog.Failed("Read", 98, kAssertReadInt32, n, false);
    }
    if (static_cast<long long>(body_length) + kHeadSize != size) return kTplLog.Failed("Read", 99, kAssertFalse, false);
    if (!ReadHString(r, rule_id, kNoLimit)) return kTplLog.Failed("Read", 101, kAssertFalse, false);
    if (rule_id.empty()) return false;
    if (int const n = r->read_int64(match_count); n != 8) {
        return kTplLog.Failed("Read", 107, kAssertReadInt64, n, false);
    }
    if (!ReadHString(r, match_text_2, kNoLimit)) return kTplLog.Failed("Read", 108, kAssertFalse, false);
    if (!ReadHString(r, match_text_1, kNoLimit)) return kTplLog.Failed("Read", 109, kAssertFalse, false);
    if (!ReadHString(r, file_short_name, kNoLimit)) return kTplLog.Failed("Read", 110, kAssertFalse, false);
    if (!ReadHString(r, match_text_3, kNoLimit)) return kTplLog.Failed("Read", 111, kAssertFalse, false);
    return true;
}

bool RuleNode::GetKeywordAttachItem(QVKReportKeywordAttachItem& item) {
    return NoThrow(false, [&] {
        item.sub_type = sub_type;
        item.rule_id = rule_id;
        item.match_count = match_count;
        item.match_text_2 = match_text_2;
        item.match_text_1 = match_text_1;
        item.file_short_name = file_short_name;
        item.match_text_3 = match_text_3;
        return true;
    });
}

bool RuleNode::SetKeywordAttachItem(QVKReportKeywordAttachItem const& item) {
    return NoThrow(false, [&] {
        sub_type = item.sub_type;
        rule_id = item.rule_id;
        match_count = item.match_count;
        match_text_2 = item.match_text_2;
        match_text_1 = item.match_text_1;
        file_short_name = item.file_short_name;
        match_text_3 = item.match_text_3;
        return true;
    });
}

bool RuleNode::GiveKeywordAttachItem(QVKReportKeywordAttachItem& item) noexcept {
    item.sub_type = sub_type;
    item.rule_id = std::move(rule_id);
    item.match_count = match_count;
    item.match_text_2 = std::move(match_text_2);
    item.match_text_1 = std::move(match_text_1);
    item.file_short_name = std::move(file_short_name);
    item.match_text_3 = std::move(match_text_3);
    return true;
}

std::unique_ptr<RuleNode> MakeRuleNode(int sub_type) noexcept {
    if (sub_type == kDNASubType) return std::unique_ptr<RuleNode>(new (std::nothrow) DNARuleNode);
    return std::unique_ptr<RuleNode>(new (std::nothrow) RuleNode(sub_type));
}

}  // namespace DLPCache
