#include "host/policy/KwLocateMgr.h"

#include "host/base/HFile.h"
#include "host/base/LocateMgr.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwArchivePath.h"
#include "host/policy/KwIdName.h"

namespace {

// A directory below `parent`. Without a parent there was no memory for its path: never a path of its own.
HString Below(HString const& parent, HString const& name, bool with_separator) noexcept {
    return NoThrow(HString(), [&] {
        if (parent.empty()) return HString();
        HString path = parent;
        path.dir_fit(true) << name;
        path.dir_fit(with_separator);
        return path;
    });
}

}  // namespace

KwLocateMgr* KwLocateMgr::pins() noexcept {
    static KwLocateMgr instance;  // without state, so never in need of memory
    return &instance;
}

void KwLocateMgr::set_root(HString const& path) noexcept {
    Varnok::LocateMgr::pins()->set_root(path);
}

HString KwLocateMgr::get_config_path(bool with_separator) const noexcept {
    return NoThrow(HString(),
                   [&] { return Below(Varnok::LocateMgr::pins()->get_root(true), "config", with_separator); });
}

HString KwLocateMgr::get_cache_path(bool with_separator) const noexcept {
    return NoThrow(HString(), [&] {
        HString path = Below(Varnok::LocateMgr::pins()->get_root(true), "cache", with_separator);
        if (with_separator && path.not_empty()) Varnok::MakeDir(path);
        return path;
    });
}

HString KwLocateMgr::get_template_path(bool with_separator) const noexcept {
    return NoThrow(HString(), [&] { return Below(get_cache_path(false), "template", with_separator); });
}

HString KwLocateMgr::get_template_path(HString const& tpl_id, bool with_separator) const noexcept {
    return NoThrow(HString(),
                   [&] { return Below(get_template_path(true), Varnok::IdToFileName(tpl_id), with_separator); });
}

HString KwLocateMgr::get_task_path(bool with_separator) const noexcept {
    return NoThrow(HString(), [&] { return Below(get_cache_path(false), "task", with_separator); });
}

HString KwLocateMgr::get_task_path(HString const& task_id, bool with_separator) const noexcept {
    return NoThrow(HString(),
                   [&] { return Below(get_task_path(true), Varnok::IdToFileName(task_id), with_separator); });
}

HString KwLocateMgr::get_task_arc(HString const& task_id) const noexcept {
    return NoThrow(HString(), [&] { return Below(get_task_path(task_id, true), "ScanTask.arc", false); });
}

HString KwLocateMgr::get_task_snap_cache(HString const& task_id) const noexcept {
    return NoThrow(HString(), [&] { return Below(get_task_path(task_id, true), "SnapCache", false); });
}

HString KwLocateMgr::get_policy_keyword_sens() const noexcept {
    return Varnok::ArchivePath(Varnok::kAuditPolicyArchive);
}

HString KwLocateMgr::get_sens_record_path(HString const& kind, bool with_separator) const noexcept {
    return NoThrow(HString(), [&] {
        HString const all = Below(get_cache_path(false), "sensrecord", true);
        return Below(all, Varnok::IdToFileName(kind), with_separator);
    });
}
