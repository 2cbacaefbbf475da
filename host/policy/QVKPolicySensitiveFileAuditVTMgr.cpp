#include "host/policy/QVKPolicySensitiveFileAuditVTMgr.h"

#include <cerrno>
#include <new>
#include <utility>

#include "host/base/HAutoMutex.h"
#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwLocateMgr.h"

QVKPolicySensitiveFileAuditVTMgr* QVKPolicySensitiveFileAuditVTMgr::pins() noexcept {
    static QVKPolicySensitiveFileAuditVTMgr* const instance =
        new (std::nothrow) QVKPolicySensitiveFileAuditVTMgr;  // never destroyed
    return instance;
}

bool QVKPolicySensitiveFileAuditVTMgr::get(QVKPolicySensitiveFileAuditVT& table, bool from_arc) noexcept {
    HAutoMutex const lock(mutex_);
    if (from_arc) {
        QVKPolicySensitiveFileAuditVT read;
        if (read.from_file(KwLocateMgr::pins()->get_policy_keyword_sens()) == 0) table_ = std::move(read);
    }
    bool const copied = NoThrow(false, [&] { return table = table_, true; });
    if (!copied) table.nodes.clear();
    return copied;
}

bool QVKPolicySensitiveFileAuditVTMgr::set_no_write_to_arc(QVKPolicySensitiveFileAuditVT const& table) noexcept {
    return NoThrow(false, [&] {
        QVKPolicySensitiveFileAuditVT copy = table;
        HAutoMutex const lock(mutex_);
        std::swap(table_, copy);
        return true;
    });
}

int QVKPolicySensitiveFileAuditVTMgr::set(QVKPolicySensitiveFileAuditVT const& table) noexcept {
    return NoThrow(ENOMEM, [&] {
        QVKPolicySensitiveFileAuditVT copy = table;
        HString const directory = KwLocateMgr::pins()->get_config_path(false);
        HString const path = KwLocateMgr::pins()->get_policy_keyword_sens();
        if (directory.empty() || path.empty()) return ENOMEM;
        HAutoMutex const lock(mutex_);
        (void)Varnok::MakeDir(directory);  // one that cannot be made is reported by the file
        if (int const error = copy.to_file(path); error != 0) return error;
        std::swap(table_, copy);
        return 0;
    });
}
