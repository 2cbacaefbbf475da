#include "tools/torvane/check/SnapshotCheck.h"

#include <cerrno>
#include <cstring>

#include "host/policy/KwArchivePath.h"
#include "host/policy/KwDefineMgr.h"
#include "host/policy/QVKConfigKeywordDataClassVT.h"
#include "host/policy/QVKConfigKeywordDataLevelVT.h"
#include "host/policy/QVKConfigKeywordFormatItemVT.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "tools/torvane/check/ArchiveLook.h"

namespace torvane {

namespace {

// Watches and reads one archive; whether it is not damaged.
template <class Table>
bool CheckTable(std::string const& root, DirectoryCheck& directory, char const* name, FindingList& list,
                ChangeWatch& watch) {
    if (!directory.Has(name)) return true;
    if (!directory.ExpectFile(name)) return false;
    std::string const file = directory.name() + "/" + name;
    watch.Add(root + "/" + file);
    Table table;
    int const error = MayBeArchive(root + "/" + file) ? table.from_file(HString(root + "/" + file)) : EBADMSG;
    if (error == 0 || error == ENOENT) return true;
    Reporter const report(list, file);
    if (error != EBADMSG) return report.Unreadable(std::strerror(error)), false;
    report.Damage("snapshot-damaged", {}, "the archive of definitions cannot be decoded",
                  "what depends on these definitions");
    return false;
}

}  // namespace

bool CheckSnapshotFiles(std::string const& root, DirectoryCheck& directory, char const* lost, FindingList& list,
                        ChangeWatch& watch) {
    using namespace Varnok;
    bool sound = CheckTable<QVKConfigKeywordTemplateVT>(root, directory, kTemplateArchive, list, watch);
    sound &= CheckTable<QVKConfigKeywordFormatItemVT>(root, directory, kFormatItemArchive, list, watch);
    sound &= CheckTable<QVKConfigKeywordDataClassVT>(root, directory, kDataClassArchive, list, watch);
    sound &= CheckTable<QVKConfigKeywordDataLevelVT>(root, directory, kDataLevelArchive, list, watch);
    for (char const* const name : {kFormatItemArchive, kDataClassArchive, kDataLevelArchive}) {
        if (!directory.Has(kTemplateArchive) || directory.Has(name)) continue;
        Reporter(list, directory.name() + "/" + name)
            .Gap("unfinished", {}, "the definitions beside it are there, this file is not", lost);
    }
    return sound;
}

void CheckSnapshotMd5(std::string const& root, std::string const& directory, std::string const& tpl_id,
                      std::string const& md5, FindingList& list) {
    KwDefineMgr definitions;
    HString path(root + "/" + directory);
    definitions.set_config_path(path.dir_fit(true));
    Reporter const report(list, directory + "/" + Varnok::kTemplateArchive);
    if (int const error = definitions.load(); error != 0) return report.Unreadable(std::strerror(error));
    constexpr char kLost[] = "every answer: the library throws them away";
    auto const* const tpl = definitions.get_tpl_by_id(HString(tpl_id));
    if (tpl == nullptr) return report.Damage("snapshot-other", {}, "the template is not in its snapshot", kLost);
    std::string const found = definitions.get_md5_by_tpl(*tpl).get_str();
    if (found != md5) report.Damage("snapshot-other", {}, "the snapshot is of the definitions " + found, kLost);
}

}  // namespace torvane
