#include "examples/scanner/ResultStore.h"

#include <new>
#include <stdexcept>
#include <string>

#include "front/DLPCacheMgr.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"

namespace scanner {
namespace {

void Require(int code) {
    if (code != DLPCache::kStored) {
        throw std::runtime_error("the cache refuses a result (code " + std::to_string(code) + ")");
    }
}

QVKKeywordMatchResult MakeResult(QVKKeywordCheckParam const& param, QVKKeywordMatchNode const& node) {
    QVKKeywordMatchResult result;
    *result.check_param = param;
    QVKKeywordMatchItem& item = result.match_items.emplace_back();
    item.match_nodes.push_back(node);
    item.sensitive = result.sensitive = node.sensitive;
    return result;
}

int CountFind(HString const& path, QVKPolicySensitiveFileAuditNode const& policy) {
    DLPCache::DLPCacheSensRecordMgr* const counts = DLPCache::DLPCacheSensRecordMgr::pins();
    if (counts == nullptr) throw std::bad_alloc();
    return counts->GetPolicyFileFoundTimes(path, policy);
}

}  // namespace

ResultStore::Taken ResultStore::Take(QVKKeywordCheckParam const& param, QVKKeywordMatchNode const& whole,
                                     std::vector<Answer> answers) {
    bool const is_finding = task_ != nullptr && whole.sensitive;
    if (answers.empty() && !is_finding) return {};
    DropOutdated(answers);
    Taken taken;
    taken.found_times = is_finding ? CountFind(whole.file_node->file_path, task_->policy()) : 0;
    QVKKeywordMatchResult result = MakeResult(param, whole);
    result.check_param->extra = HString(taken.found_times);
    DLPCacheMgr const& cache = *DLPCacheMgr::pins();
    bool const stores_all = task_ != nullptr && answers.size() == policy_.ids().size();
    int code = DLPCache::kStored;
    if (stores_all) {
        code = cache.AddCache(result);
    } else if (is_finding) {
        code = cache.AddTask(result);
    }
    if (code == DLPCache::kNoTaskCache) Require(code);
    if (code != DLPCache::kStored || !stores_all) {
        Require(cache.AddTpl(MakeResult(param, MakeStoreNode(policy_, *whole.file_node, answers))));
    }
    if (is_finding && code != DLPCache::kStored) {
        taken.not_recorded = "found, but the task cannot record it (code " + std::to_string(code) + ")";
        ++counters_.unrecorded;
    }
    if (!answers.empty()) CountUnstorable(*whole.file_node, answers);
    return taken;
}

void ResultStore::DropOutdated(std::vector<Answer>& answers) {
    counters_.outdated_answers += std::erase_if(answers, [this](Answer const& answer) {
        return !Policy::IsCurrent(policy_.templates()[answer.template_index]);
    });
}

// A cache that cannot take an answer logs it and goes on, so whether it did shows only when it is asked again.
void ResultStore::CountUnstorable(QVKKeywordFileNode const& file, std::vector<Answer> const& answers) {
    std::vector<HString> ids;
    for (Answer const& answer : answers)
        ids.push_back(policy_.ids()[answer.template_index]);
    QVKKeywordMatchNode found;
    DLPCacheMgr::pins()->QueryMatchNode(file, ids, true, found);
    std::vector<std::size_t> const missing = MissingTemplates(ids, found);
    for (std::size_t const index : missing)
        ++counters_.templates[answers[index].template_index].unstorable;
    if (!missing.empty()) ++counters_.unstorable_files;
}

}  // namespace scanner
