#include "host/policy/QVKConfigKeywordDataLevelVTMgr.h"

#include "host/policy/KwArchivePath.h"

QVKConfigKeywordDataLevelVTMgr* QVKConfigKeywordDataLevelVTMgr::pins() noexcept {
    static QVKConfigKeywordDataLevelVTMgr instance;  // without state, so never in need of memory
    return &instance;
}

HString QVKConfigKeywordDataLevelVTMgr::get_arc_file() const noexcept {
    return Varnok::ArchivePath(Varnok::kDataLevelArchive);
}
