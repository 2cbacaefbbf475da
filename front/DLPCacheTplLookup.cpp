#include "front/DLPCacheTplLookup.h"

#include "host/policy/KwDefineMgr.h"
#include "template/DLPCacheTplMgr.h"

namespace DLPCache {

TplLookup LookUpTpl(HString const& tpl_id) noexcept {
    KwDefineMgr const* const definitions = KwDefineMgr::pins();
    if (definitions == nullptr) return {};
    QVKConfigKeywordTemplateNode const* const tpl = definitions->get_tpl_by_id(tpl_id);
    if (tpl == nullptr) return {};
    // The record that the definitions handed out costs no hashing. Without memory the MD5 is empty: no cache has that.
    HString const md5 = definitions->get_md5_by_tpl(*tpl);
    if (md5.empty()) return {};
    DLPCacheTplMgr* const caches = DLPCacheTplMgr::pins();
    if (caches == nullptr) return {};
    return {tpl, caches->GetCache(*tpl, md5)};
}

DLPCacheTpl::Key MakeFileKey(QVKKeywordFileNode const& file_node) {
    DLPCacheTpl::Key key;
    if (file_node.short_name.empty()) {
        key.short_name = file_node.file_path.get_short_name();
    } else {
        key.short_name = file_node.short_name;
    }
    key.md5 = file_node.file_md5;
    return key;
}

}  // namespace DLPCache
