#include "bench/TaskRoot.h"

#include "bench/Definitions.h"
#include "bench/Require.h"
#include "host/base/Global.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"

namespace bench {
namespace {

constexpr long long kHour = 3600;
constexpr long long kStart = 1700000000;

QVKPolicySensitiveFileAuditVT MakePolicies(std::size_t policies) {
    QVKPolicySensitiveFileAuditVT table;
    for (std::size_t policy = 0; policy < policies; ++policy)
        table.nodes.push_back(std::unique_ptr<ScanTask>(MakeTask(policy, policies, {}))->audit_node());
    return table;
}

}  // namespace

HString TaskId(std::size_t task) {
    return HString("task-" + std::to_string(task));
}

ScanTask* MakeTask(std::size_t task, std::size_t policies, std::vector<HString> const& tpl_ids) {
    auto made = std::make_unique<ScanTask>();
    made->id = TaskId(task);
    made->start_time = kStart + kHour * static_cast<long long>(task);
    made->status = task % 2 == 0 ? kTaskRunning : kTaskFinished;
    QVKPolicySensitiveFileAuditNode& node = *made->policy->audit_node;
    node.policy->id = HString("policy-" + std::to_string(task % policies));
    node.policy->time_stamp = kStart;
    node.policy->record_key = node.policy->id;
    node.tpl_ids = tpl_ids;
    return made.release();  // the registry wants it for the life of the process
}

SensFile MakeFinding(int sn) {
    SensFile file;
    file.task_id = TaskId(0);
    file.sn = sn;
    file.file_path = HString("/srv/share/projects/reports/report-" + std::to_string(sn) + ".txt");
    file.file_md5 = "900150983CD24FB0D6963F7D28E17F72";
    file.file_attrs = {120000, kStart, kStart, kStart};
    file.tpl_ids = {TplId(0), TplId(1)};
    file.extra_1 = "Keyword \"secret plan\" was found 3 times\nKeyword \"pass phrase\" was found 2 times\n";
    return file;
}

TaskRoot::TaskRoot(std::size_t tasks, std::size_t policies) {
    KwLocateMgr::pins()->set_root(HString(directory_.path()));
    Require(KwDefineMgr::pins()->install(MakeDefinitions(2, 3)), "the definitions could not be installed");
    Require(QVKPolicySensitiveFileAuditVTMgr::pins()->set_no_write_to_arc(MakePolicies(policies)),
            "the policies could not be set");
    registry_ = std::make_unique<DLPCacheTaskMgr>();
    for (std::size_t task = 0; task < tasks; ++task)
        registry_->AddTask(MakeTask(task, policies, {TplId(0), TplId(1)}));
    Varnok::Global::pins()->logging = 0;
}

DLPCacheTask& TaskRoot::Writer(std::size_t task) {
    DLPCacheTask* const writer = registry_->GetCache(TaskId(task));
    Require(writer != nullptr, "a task has no writer");
    return *writer;
}

std::string TaskRoot::TaskFile(std::size_t task, char const* name) const {
    return directory_.path() + "/cache/task/" + TaskId(task).get_str() + "/" + name;
}

}  // namespace bench
