#include "template/DLPCacheTplDirectory.h"

#include <cerrno>
#include <new>

#include "host/base/HFile.h"
#include "host/policy/KwIdName.h"
#include "host/policy/KwLocateMgr.h"
#include "template/DLPCacheTplSnapshot.h"

namespace DLPCache {

HString TplDirectory(HString const& tpl_id, HString const& md5) {
    HString directory = KwLocateMgr::pins()->get_template_path(tpl_id, true);
    if (directory.empty())
        throw std::bad_alloc();  // without memory a path is empty; a relative path must not come of it
    directory << Varnok::IdToFileName(md5);
    return directory.dir_fit(true);
}

bool MakeTplDirectory(HString const& tpl_id, HString const& md5) {
    HString const tpl_path = KwLocateMgr::pins()->get_template_path(tpl_id, false);
    HString const path = TplDirectory(tpl_id, md5).dir_fit(false);
    if (tpl_path.empty()) throw std::bad_alloc();
    return Varnok::MakeDir(tpl_path) && HFile::IsFileExistDir(tpl_path) && Varnok::MakeDir(path) &&
           HFile::IsFileExistDir(path);
}

int DeleteTplDirectory(HString const& directory) {
    return DeleteTplDirectory(directory, TplSnapshotFile(directory));
}

int DeleteTplDirectory(HString const& directory, HString const& tpl_file) noexcept {
    // A symbolic link in its place: nothing behind it is touched.
    if (!HFile::IsFileExistDir(directory)) return HFile::delete_dir_recur(directory);
    int const failed = HFile::delete_file(tpl_file);
    if (failed != 0 && failed != ENOENT && failed != EISDIR && failed != EPERM) return failed;
    return HFile::delete_dir_recur(directory);
}

}  // namespace DLPCache
