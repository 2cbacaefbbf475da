#include "template/DLPCacheTplState.h"

#include "host/policy/KwDefineMgr.h"

namespace DLPCache {

TplState StateOfTpl(HString const& tpl_id, HString const& md5) noexcept {
    KwDefineMgr const* const definitions = KwDefineMgr::pins();
    if (!definitions) return TplState::kCurrent;
    auto const* const tpl = definitions->get_tpl_by_id(tpl_id);
    if (!tpl) return TplState::kGone;
    HString const current = definitions->get_md5_by_tpl(*tpl);
    return current.empty() || current == md5 ? TplState::kCurrent : TplState::kOther;
}

}  // namespace DLPCache
