#include "host/policy/QVKConfigKeywordTemplateVTMgr.h"

#include "host/policy/KwArchivePath.h"

QVKConfigKeywordTemplateVTMgr* QVKConfigKeywordTemplateVTMgr::pins() noexcept {
    static QVKConfigKeywordTemplateVTMgr instance;  // without state, so never in need of memory
    return &instance;
}

HString QVKConfigKeywordTemplateVTMgr::get_arc_file() const noexcept {
    return Varnok::ArchivePath(Varnok::kTemplateArchive);
}
