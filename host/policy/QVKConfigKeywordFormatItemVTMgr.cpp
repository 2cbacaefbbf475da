#include "host/policy/QVKConfigKeywordFormatItemVTMgr.h"

#include "host/policy/KwArchivePath.h"

QVKConfigKeywordFormatItemVTMgr* QVKConfigKeywordFormatItemVTMgr::pins() noexcept {
    static QVKConfigKeywordFormatItemVTMgr instance;  // without state, so never in need of memory
    return &instance;
}

HString QVKConfigKeywordFormatItemVTMgr::get_arc_file() const noexcept {
    return Varnok::ArchivePath(Varnok::kFormatItemArchive);
}
