#include "tools/torvane/check/ConfigCheck.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "host/policy/KwArchivePath.h"
#include "host/policy/QVKConfigKeywordDataClassVT.h"
#include "host/policy/QVKConfigKeywordDataLevelVT.h"
#include "host/policy/QVKConfigKeywordFormatItemVT.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "tools/torvane/check/ArchiveLook.h"

namespace torvane {

namespace {

template <class Table>
void CheckTable(std::string const& root, char const* name, FindingList& list, ChangeWatch& watch) {
    std::string const file = std::string("config/") + name;
    watch.Add(root + "/" + file);
    struct stat status {};
    if (::lstat((root + "/" + file).c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        return Reporter(list, file)
            .Damage("foreign", {}, "something that is no regular file stands here",
                    "the agent's definitions that belong here");
    }
    Table table;
    int const error = MayBeArchive(root + "/" + file) ? table.from_file(HString(root + "/" + file)) : EBADMSG;
    if (error == 0 || error == ENOENT || error == ENOTDIR) return;
    Reporter const report(list, file);
    if (error != EBADMSG) return report.Unreadable(std::strerror(error));
    report.Damage("config-damaged", {}, "the archive cannot be decoded",
                  "the agent's definitions in it, and with them the use of what is cached under them");
}

}  // namespace

void CheckConfig(std::string const& root, FindingList& list, ChangeWatch& watch) {
    using namespace Varnok;
    CheckTable<QVKConfigKeywordTemplateVT>(root, kTemplateArchive, list, watch);
    CheckTable<QVKConfigKeywordFormatItemVT>(root, kFormatItemArchive, list, watch);
    CheckTable<QVKConfigKeywordDataClassVT>(root, kDataClassArchive, list, watch);
    CheckTable<QVKConfigKeywordDataLevelVT>(root, kDataLevelArchive, list, watch);
    CheckTable<QVKPolicySensitiveFileAuditVT>(root, kAuditPolicyArchive, list, watch);
}

}  // namespace torvane
