#include <utility>
#include <vector>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"
#include "template/DLPCacheTplState.h"
#include "template/DLPCacheTplUse.h"

namespace {

struct Outdated {
    HString tpl_id;
    HString md5;
};

// The one template of a cache's own definitions; null when they hold none or several, or without memory.
QVKConfigKeywordTemplateNode const* OnlyTpl(DLPCacheTpl const* cache) {
    std::vector<QVKConfigKeywordTemplateNode const*> templates;
    bool const known = cache && cache->definitions() && cache->definitions()->get_config_vt(templates);
    return known && templates.size() == 1 ? templates.front() : nullptr;
}

bool IsCurrent(HString const& tpl_id, HString const& md5) {
    return DLPCache::StateOfTpl(tpl_id, md5) == DLPCache::TplState::kCurrent;
}

}  // namespace

void DLPCacheTplMgr::UpdataCache() noexcept {
    HAutoMutex const lock(mutex_);
    NoThrow(false, [&] {
        std::vector<Outdated> outdated;
        for (auto const& [md5, cache] : caches_) {
            auto const* tpl = OnlyTpl(cache);
            if (!tpl) continue;
            Outdated found{HString(QVKCommon::IdOf(tpl->common)), md5};
            if (!IsCurrent(found.tpl_id, md5)) outdated.push_back(std::move(found));
        }
        // Asked only now: a task that begins after the first question uses what is current, and that is asked again.
        // Whoever replaces the definitions to and fro meanwhile may lose a cache, never an answer's truth.
        DLPCache::TplUse use;
        for (auto const& [tpl_id, md5] : outdated) {
            if (!use.IsUsed(tpl_id, md5) && !IsCurrent(tpl_id, md5)) (void)DeleteCache(md5);
        }
        return true;
    });
}
