#include <utility>
#include <vector>

#include "host/base/HAutoMutex.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"
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

// Whether the process-wide definitions hold the template in the state that has the MD5 `md5`; also true when they
// cannot be asked for want of memory.
bool IsCurrent(HString const& tpl_id, HString const& md5) {
    KwDefineMgr const* const current = KwDefineMgr::pins();
    if (!current) return true;
    auto const* tpl = current->get_tpl_by_id(tpl_id);
    if (!tpl) return false;
    HString const current_md5 = current->get_md5_by_tpl(*tpl);
    return current_md5.empty() || current_md5 == md5;
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
        // Asked only now: a task that begins after the first question begins under definitions in which none of these
        // is current.
        DLPCache::TplUse use;
        for (auto const& [tpl_id, md5] : outdated) {
            if (!use.IsUsed(tpl_id, md5)) (void)DeleteCache(md5);
        }
        return true;
    });
}
