#include "task/DLPCacheRealtimeTask.h"

#include <algorithm>
#include <string_view>

#include "host/base/HTimeValueEx.h"

namespace DLPCache {

namespace {

constexpr std::u16string_view kWithoutPolicyId = u"000000000000000-";

bool CarriesPolicyId(QVKPolicySensitiveFileAuditNode const& node) noexcept {
    return (node.flags & QVKPolicySensitiveFileAuditNode::kRealtimeIdByPolicy) != 0;
}

char16_t ToLower(char16_t unit) noexcept {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

std::u16string_view TrimDashes(std::u16string_view text) noexcept {
    while (text.starts_with(u'-'))
        text.remove_prefix(1);
    while (text.ends_with(u'-'))
        text.remove_suffix(1);
    return text;
}

// Whether `id` begins as the id of the policy's realtime task does. No memory is taken: a long history asks this of
// every task, and of hardly any the text of the time is needed as well.
bool BeginsAsRealtime(std::u16string_view id, QVKPolicySensitiveFileAuditNode const& node) noexcept {
    if (!CarriesPolicyId(node)) return id.starts_with(kWithoutPolicyId);
    std::u16string_view const policy_id = TrimDashes(node.header().id.view());
    return id.size() > policy_id.size() && id[policy_id.size()] == u'-' &&
           std::equal(policy_id.begin(), policy_id.end(), id.begin(),
                      [](char16_t a, char16_t b) { return ToLower(a) == b; });
}

}  // namespace

HString GetRealtimeTaskID(QVKPolicySensitiveFileAuditNode const& node) {
    HString id(kWithoutPolicyId);
    if (CarriesPolicyId(node)) {
        id = node.header().id;
        id.to_lower_case().trim_both("-") << "-";
    }
    HTimeValueEx time;
    time.set_time_t(node.header().time_stamp);
    return id << time.to_long2();
}

bool IsRealtimeTask(ScanTask const& task) {
    QVKPolicySensitiveFileAuditNode const& node = task.audit_node();
    return BeginsAsRealtime(task.id.view(), node) && task.id == GetRealtimeTaskID(node);
}

}  // namespace DLPCache
