#include "examples/scanner/AuditPolicy.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"

namespace scanner {
namespace {

using Node = QVKPolicySensitiveFileAuditNode;

void Require(int error, char const* what) {
    if (error == 0) return;
    std::string const path = KwLocateMgr::pins()->get_policy_keyword_sens().get_str();
    throw std::runtime_error(std::string("cannot ") + what + " the policies in " + path + ": " + std::strerror(error));
}

QVKPolicySensitiveFileAuditVT ReadPolicies() {
    QVKPolicySensitiveFileAuditVT table;
    int const error = table.from_file(KwLocateMgr::pins()->get_policy_keyword_sens());
    if (error != ENOENT) Require(error, "read");
    return table;
}

Node& FindOrAdd(HString const& id, QVKPolicySensitiveFileAuditVT& table) {
    auto const found =
        std::find_if(table.nodes.begin(), table.nodes.end(), [&](Node const& node) { return node.header().id == id; });
    return found != table.nodes.end() ? *found : table.nodes.emplace_back();
}

// An id without a directory of its own could not be counted under.
void RequireFileName(HString const& id) {
    std::size_t const length = Varnok::IdToFileName(id).get_str().size();
    if (length <= NAME_MAX) return;
    throw std::runtime_error("the policy's id makes a name of " + std::to_string(length) + " bytes; a file's has " +
                             std::to_string(NAME_MAX) + " at most");
}

// A version is told by its second, so a second change within one counts into the next.
void Renew(Node& node, HString const& id, std::vector<HString> const& tpl_ids) {
    long long const last = node.header().time_stamp;
    if (last == std::numeric_limits<long long>::max())
        throw std::runtime_error("the policy " + id.get_str() + " has the last version there is");
    auto const header = std::make_shared<QVKPolicyCommon>();
    header->time_stamp = std::max<long long>(std::time(nullptr), last + 1);
    header->id = id;
    header->name = id;
    header->record_key = id;
    node.policy = header;
    node.tpl_ids = tpl_ids;
    node.keep = false;  // a scan that was cut short is over when its policy has changed
}

}  // namespace

AuditPolicy PlanPolicy(HString const& id, std::vector<HString> const& tpl_ids) {
    RequireFileName(id);
    AuditPolicy policy;
    policy.table = ReadPolicies();
    Node& node = FindOrAdd(id, policy.table);
    bool const known = node.header().id == id;
    policy.is_new =
        !known || !std::is_permutation(node.tpl_ids.begin(), node.tpl_ids.end(), tpl_ids.begin(), tpl_ids.end());
    if (policy.is_new) Renew(node, id, tpl_ids);
    policy.node = node;
    return policy;
}

void PutInForce(AuditPolicy const& policy) {
    auto* const policies = QVKPolicySensitiveFileAuditVTMgr::pins();
    if (policies == nullptr) throw std::bad_alloc();
    if (policy.is_new)
        Require(policies->set(policy.table), "write");
    else if (!policies->set_no_write_to_arc(policy.table))
        throw std::bad_alloc();
}

}  // namespace scanner
