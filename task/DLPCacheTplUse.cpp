#include "template/DLPCacheTplUse.h"

#include <utility>
#include <vector>

#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "task/DLPCacheTaskDefinitions.h"
#include "task/DLPCacheTaskLog.h"
#include "task/DLPCacheTaskMgr.h"

namespace DLPCache {

bool TplUse::IsUsed(HString const& tpl_id, HString const& md5) noexcept {
    if (!std::exchange(loaded_, true)) {
        known_ = NoThrow(false, [&] { return Load(); });
        if (!known_) kTaskLog.Write(kLogError, 19, "read task history failed, every template cache stays");
    }
    return !known_ || used_.contains(Use(tpl_id, md5));
}

bool TplUse::Load() {
    DLPCacheTaskMgr* const registry = DLPCacheTaskMgr::pins();
    std::vector<HString> task_ids;
    if (!registry || !registry->GetHistoryIds(task_ids)) return false;
    for (HString const& id : task_ids) {
        if (without_task_ && id == *without_task_) continue;
        TaskDefinitions const definitions(id, registry->GetOpenedCache(id));
        if (definitions.error() != 0 || !definitions.get() || !Note(*definitions.get())) return false;
    }
    return true;
}

bool TplUse::Note(KwDefineMgr const& definitions) {
    std::vector<QVKConfigKeywordTemplateNode const*> templates;
    if (!definitions.get_config_vt(templates)) return false;
    for (auto const* tpl : templates) {
        HString const md5 = definitions.get_md5_by_tpl(*tpl);
        if (md5.empty()) return false;
        used_.emplace(HString(QVKCommon::IdOf(tpl->common)), md5);
    }
    return true;
}

}  // namespace DLPCache
