#include "template/DLPCacheTplMgr.h"

#include <cerrno>
#include <new>
#include <utility>
#include <vector>

#include "front/DLPCacheVersion.h"
#include "host/base/HAutoMutex.h"
#include "host/base/HDirSnap.h"
#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/base/ParentPath.h"
#include "host/base/Retained.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "template/DLPCacheTplDirectory.h"
#include "template/DLPCacheTplLog.h"
#include "template/DLPCacheTplSnapshot.h"

using DLPCache::kTplLog;

namespace {

struct Subdirectory {
    HString path;
    HString id;  // what its name stands for
};

// The direct subdirectories of `directory` whose names stand for ids; empty ones are removed instead. Symbolic links
// and foreign names are left alone.
std::vector<Subdirectory> TakeSubdirectories(HString const& directory) {
    HDirSnap snap;
    snap.recursive = false;
    snap.directories = true;
    snap.set_file(directory);
    if (!snap.snap()) kTplLog.Write(DLPCache::kLogError, 905, "read dir failed, dir: ", directory);
    std::vector<Subdirectory> found;
    for (HDirSnap::Entry const& entry : snap.entries()) {
        if (!entry.is_dir || HFile::del_empty_dir(entry.path) == 0) continue;
        Subdirectory sub{entry.path, HString()};
        if (Varnok::FileNameToId(sub.path.dir_fit(false).get_short_name(), sub.id)) found.push_back(std::move(sub));
    }
    return found;
}

// Whether `directory` lies below the template path. Nothing else is ever deleted here.
bool IsBelowTemplatePath(HString const& directory) {
    HString const top = KwLocateMgr::pins()->get_template_path(true);
    return top.not_empty() && directory.is_begin_by(top, true) && HString(directory).dir_fit(true) != top;
}

// Whether `directory`, which ends in a separator, is <template path>/<template id>/<MD5>/ to the letter, both names
// being ones that ids have, so that neither ".." nor a symbolic link leads elsewhere.
bool IsCacheDirectory(HString const& directory) {
    HString const top = KwLocateMgr::pins()->get_template_path(true);
    if (top.empty() || !directory.view().starts_with(top.view())) return false;
    HString below = directory;
    std::vector<HString> names;
    below.dir_fit(false).cut_first(top.length()).get_vt_str_by_sep(names, "/");
    HString id;
    return names.size() == 2 && Varnok::FileNameToId(names[0], id) && Varnok::FileNameToId(names[1], id) &&
           HFile::IsFileExistDir(HString(top) << names[0]) && HFile::IsFileExistDir(directory);
}

void DeleteInvalid(HString const& directory) {
    kTplLog.Write(DLPCache::kLogWarning, 968, "invalid template cache, deleted, dir: ", directory);
    (void)DLPCache::DeleteTplDirectory(directory);
}

// What could not be read is no reason to delete anything.
void LeaveAlone(HString const& directory, int error) {
    kTplLog.Write(DLPCache::kLogError, 973, "read template cache failed, errno: ", error, ", dir: ", directory);
}

}  // namespace

DLPCacheTplMgr* DLPCacheTplMgr::pins() noexcept {
    static DLPCacheTplMgr* const gpcachetplmgr = new (std::nothrow) DLPCacheTplMgr;
    return gpcachetplmgr;
}

DLPCacheTplMgr::DLPCacheTplMgr() noexcept {
    CheckModuleVersion();
    Init();
}

DLPCacheTplMgr::~DLPCacheTplMgr() {
    for (auto const& [md5, cache] : caches_)
        Varnok::Retain(cache);
    for (auto const& [md5, cache] : forgotten_)
        Varnok::Retain(cache);
}

void DLPCacheTplMgr::Init() noexcept {
    NoThrow(false, [&] {
        for (auto const& sub : TakeSubdirectories(KwLocateMgr::pins()->get_template_path(true)))
            InitTpl(sub.id);
        return true;
    });
}

void DLPCacheTplMgr::InitTpl(HString const& tpl_id) noexcept {
    NoThrow(false, [&] {
        HString const directory = KwLocateMgr::pins()->get_template_path(tpl_id, false);
        if (!HFile::IsFileExistDir(directory)) return false;
        for (auto& sub : TakeSubdirectories(directory))
            InitTplMD5(sub.path.dir_fit(true));
        return true;
    });
}

void DLPCacheTplMgr::InitTplMD5(HString const& dir) noexcept {
    NoThrow(false, [&] { return OpenFound(HString(dir).dir_fit(true)), true; });
}

void DLPCacheTplMgr::OpenFound(HString const& directory) {
    if (!IsCacheDirectory(directory)) {
        return kTplLog.Write(DLPCache::kLogError, 981, "no template cache dir, left alone: ", directory);
    }
    HString const tpl_file = DLPCache::TplSnapshotFile(directory);
    if (!HFile::IsFileExistFile(tpl_file)) return DeleteInvalid(directory);
    QVKConfigKeywordTemplateVT templates;
    int failed = templates.from_file(tpl_file);
    if (failed == ENOENT || failed == EBADMSG) return DeleteInvalid(directory);
    if (failed != 0) return LeaveAlone(directory, failed);
    if (templates.nodes.size() != 1) return DeleteInvalid(directory);

    KwDefineMgr definitions;
    definitions.set_config_path(directory);
    failed = definitions.load();
    if (failed != 0 && failed != EBADMSG) return LeaveAlone(directory, failed);
    HString const md5 = definitions.get_md5_by_tpl(templates.nodes.front());
    if (md5.empty()) return LeaveAlone(directory, ENOMEM);
    // What is damaged counts by what it does to the MD5: names, classes and levels come from the current definitions.
    HString const name = HString(directory).dir_fit(false).get_short_name();
    if (failed == EBADMSG && Varnok::IdToFileName(md5) != name) return DeleteInvalid(directory);
    DLPCacheTpl*& cache = caches_[md5];
    if (cache) cache->Retire();
    Varnok::Retain(std::exchange(cache, nullptr));  // without memory for another, GetCache makes one later
    cache = new DLPCacheTpl(templates.nodes.front(), md5);
}

DLPCacheTpl* DLPCacheTplMgr::GetCache(QVKConfigKeywordTemplateNode const& tpl, HString const& md5) noexcept {
    HAutoMutex const lock(mutex_);
    return NoThrow<DLPCacheTpl*>(nullptr, [&] {
        auto const [entry, added] = caches_.try_emplace(md5, nullptr);
        if (!entry->second) {
            entry->second = new (std::nothrow) DLPCacheTpl(tpl, md5);
        } else if (!entry->second->HasStore()) {
            entry->second->OpenAgain(tpl, md5);
        }
        return entry->second;
    });
}

bool DLPCacheTplMgr::DeleteCache(HString const& md5) noexcept {
    HAutoMutex const lock(mutex_);
    return NoThrow(false, [&] {
        auto const entry = caches_.find(md5);
        if (entry == caches_.end() || !entry->second || !entry->second->definitions()) return false;
        HString const directory = entry->second->definitions()->get_config_path();
        if (!IsBelowTemplatePath(directory)) {
            kTplLog.Write(DLPCache::kLogError, 1047, "Cache dir error! dir ", directory);
            return false;
        }
        HString const tpl_file = DLPCache::TplSnapshotFile(directory);
        HString const parent = Varnok::ParentPath(directory);
        bool const behind_link = HFile::IsFileExistDir(directory) && !HFile::IsFileExistDir(parent);
        // From here on the cache is gone, whatever fails; nothing throws.
        entry->second->Retire();
        if (int const failed = behind_link ? ENOTDIR : DLPCache::DeleteTplDirectory(directory, tpl_file)) {
            kTplLog.Write(DLPCache::kLogError, 1052, "delete template cache failed, errno: ", failed,
                          ", dir: ", directory);
        }
        forgotten_.insert(caches_.extract(entry));
        return true;
    });
}
