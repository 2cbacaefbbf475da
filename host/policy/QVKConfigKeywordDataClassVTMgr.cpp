#include "host/policy/QVKConfigKeywordDataClassVTMgr.h"

#include "host/policy/KwArchivePath.h"

QVKConfigKeywordDataClassVTMgr* QVKConfigKeywordDataClassVTMgr::pins() noexcept {
    static QVKConfigKeywordDataClassVTMgr instance;  // without state, so never in need of memory
    return &instance;
}

HString QVKConfigKeywordDataClassVTMgr::get_arc_file() const noexcept {
    return Varnok::ArchivePath(Varnok::kDataClassArchive);
}
