#include "tests/sensrecord/SensRecordFixture.h"

QVKPolicySensitiveFileAuditNode SensRecordFixture::MakePolicy(std::string const& id) {
    QVKPolicySensitiveFileAuditNode node;
    node.policy->time_stamp = kStamp;
    node.policy->id = id;
    node.policy->record_key = "key of " + id;
    return node;
}

DLPCache::SensRecordNode MakeRecord(int realtime, int policy, int tool) {
    DLPCache::SensRecordNode record;
    record.realtime_count = realtime;
    record.policy_count = policy;
    record.tool_count = tool;
    return record;
}

bool SameCounts(DLPCache::SensRecordNode const& a, DLPCache::SensRecordNode const& b) {
    return a.realtime_count == b.realtime_count && a.policy_count == b.policy_count && a.tool_count == b.tool_count;
}

std::vector<std::string> TakeOwn(LogLines& log) {
    std::vector<std::string> texts;
    for (LogLines::Line const& line : log.Take()) {
        if (line.source != "../DLPCacheSensRecord.cpp") continue;
        texts.push_back(std::to_string(line.level) + " " + std::to_string(line.line) + " " + line.text);
    }
    return texts;
}

std::string Assertion(char const* operation, int line, std::string const& word) {
    std::string const number = std::to_string(line);
    return "1 " + number + " " + operation + ", Line:" + number + ", ASSERT_" + word;
}
