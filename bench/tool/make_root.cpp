// Makes a large cache for measuring programs that look at one: make_root DIRECTORY, which must be missing or empty.
// 20 templates with 50,000 answers each, every other one a match; a task with 10,000 findings; 100,000 counters, every
// tenth counted twice.

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>

#include "bench/Answers.h"
#include "bench/Definitions.h"
#include "bench/Require.h"
#include "bench/TaskRoot.h"
#include "front/DLPCacheMgr.h"
#include "host/base/Global.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditNode.h"
#include "sensrecord/DLPCacheSensRecordMgr.h"
#include "task/DLPCacheTaskStore.h"
#include "template/DLPCacheTpl.h"
#include "text/DLPCacheText.h"

namespace {

using namespace bench;

constexpr std::size_t kTemplates = 20;
constexpr std::size_t kRules = 3;
constexpr std::size_t kAnswersEach = 50000;
constexpr int kFindings = 10000;
constexpr int kTexts = 100;
constexpr int kCounters = 100000;

QVKKeywordText TextOf(HString const& tpl_id) {
    QVKKeywordText text;
    text.tpl_id = tpl_id;
    text.text = "The text in which a match lies, as it is shown to whoever looks at the finding.";
    text.line_positions = {{1, {{4, 8}, {24, 29}}}, {3, {{0, 7}}}};
    return text;
}

void MakeAnswers(std::size_t tpl) {
    KwDefineMgr const& definitions = *KwDefineMgr::pins();
    auto const* const definition = definitions.get_tpl_by_id(TplId(tpl));
    Require(definition != nullptr, "a template is not defined");
    DLPCacheTpl const cache(*definition, definitions.get_md5_by_tpl(*definition));
    QVKKeywordText const text = TextOf(TplId(tpl));
    for (std::size_t i = 0; i < kAnswersEach; ++i) {
        HString const name("report-" + std::to_string(i) + ".txt");
        bool const is_match = i % 2 == 0;
        // A key of bucket 0 is refused.
        (void)cache.Add(HString(KeyOf(i)), is_match ? MakeAttachNode(tpl, kRules, name) : QVKReportKeywordAttachNode(),
                        text, name);
    }
}

void MakeFindings() {
    ScanTask task;
    task.id = TaskId(0);
    task.policy->audit_node->tpl_ids = {TplId(0), TplId(1)};
    Require(task.to_file(KwLocateMgr::pins()->get_task_arc(task.id)) == 0, "a task could not be written");
    DLPCacheTaskStore const store(task);
    for (int sn = 1; sn <= kFindings; ++sn)
        Require(store.Add(MakeFinding(sn)) == DLPCache::kTaskFileStored, "a finding could not be written");
    DLPCacheText const texts(task.id);
    for (int i = 0; i < kTexts; ++i)
        Require(texts.Add(HString("text-" + std::to_string(i)), TextOf(TplId(0))) == DLPCache::kTextStored,
                "a text could not be written");
}

void MakeCounters() {
    QVKPolicySensitiveFileAuditNode policy;
    policy.policy->id = "policy-0";
    policy.policy->time_stamp = 1700000000;
    DLPCache::DLPCacheSensRecordMgr& counts = *DLPCache::DLPCacheSensRecordMgr::pins();
    for (int i = 0; i < kCounters; ++i) {
        HString const file("/srv/share/report-" + std::to_string(i) + ".txt");
        for (int times = i % 10 == 0 ? 2 : 1; times > 0; --times)
            (void)counts.GetFileFoundTimes(file, policy, DLPCache::DLPCacheSensRecordMgr::kRealtimeCheck);
    }
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return std::fputs("usage: make_root DIRECTORY\n", stderr), 2;
    std::filesystem::path const root = std::filesystem::absolute(arguments[1]);
    std::filesystem::create_directories(root);
    Require(std::filesystem::is_empty(root), "the directory is not empty");
    KwLocateMgr::pins()->set_root(HString(root.string()));
    Require(KwDefineMgr::pins()->install(MakeDefinitions(kTemplates, kRules)), "no definitions");
    Require(DLPCacheMgr::pins() != nullptr, "the library could not be started");
    Varnok::Global::pins()->logging = 0;
    for (std::size_t tpl = 0; tpl < kTemplates; ++tpl)
        MakeAnswers(tpl);
    MakeFindings();
    MakeCounters();
    return 0;
}
