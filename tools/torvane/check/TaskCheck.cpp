#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <string>

#include "host/policy/KwArchivePath.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/ScanTask.h"
#include "tools/torvane/check/ArchiveLook.h"
#include "tools/torvane/check/DirectoryCheck.h"
#include "tools/torvane/check/SnapshotCheck.h"
#include "tools/torvane/check/StoresCheck.h"

namespace torvane {

namespace {

constexpr char kRecord[] = "ScanTask.arc";
constexpr char kTexts[] = "text";
constexpr char kScannersOwn[] = "SnapCache";  // not the library's to judge

void CheckRecordFile(StoreLook const& look, DirectoryCheck& directory) {
    std::string const file = directory.name() + "/" + kRecord;
    Reporter const report(look.list, file);
    if (!directory.ExpectFile(kRecord)) return;
    look.watch.Add(look.root.root() + "/" + file);
    ScanTask task;
    int const error =
        MayBeArchive(look.root.root() + "/" + file) ? task.from_file(HString(look.root.root() + "/" + file)) : EBADMSG;
    if (error == ENOENT) return;
    if (error == EBADMSG)
        return report.Damage("task-record-damaged", {}, "the task's record cannot be decoded", "the task");
    if (error != 0) return report.Unreadable(std::strerror(error));
    if (task.id.get_str() == look.place.id) return;
    report.Damage("task-record-other", {}, "the record is that of the task " + task.id.get_str(),
                  "the task under the directory's name, and what was found by it");
}

// Without a record the task is not known. A text may be added to one that was removed, and the record is the last to
// be deleted; but findings without a record have lost it.
void TellMissingRecord(StoreLook const& look, DirectoryCheck const& directory) {
    Reporter const report(look.list, directory.name());
    if (directory.Has("index") || directory.Has(Varnok::kTemplateArchive))
        return report.Damage("task-record-missing", {}, "the directory of a task without its record",
                             "the task: what it has found cannot be asked for");
    report.Waste("unfinished", {}, "a directory without a task", 0);
}

// The record is the last to be deleted, all else goes in no order: a task of which some is gone may be half removed.
void TellHalfRemoved(StoreLook const& look, DirectoryCheck const& directory) {
    if (!directory.Has("index") || directory.Has(Varnok::kTemplateArchive)) return;
    Reporter(look.list, directory.name() + "/" + Varnok::kTemplateArchive)
        .Gap("unfinished", {}, "a half removed task: the definitions that its findings were recorded under are gone",
             "the names of templates as they were, unless the task was being removed");
}

bool ReadTemplates(std::string const& directory, std::set<std::u16string>& ids) {
    QVKConfigKeywordTemplateVT table;
    if (table.from_file(HString(directory + "/" + Varnok::kTemplateArchive)) != 0) return false;
    for (auto const& node : table.nodes)
        ids.emplace(node.common->id.view());
    return true;
}

// The snapshot is made once: of a policy that gained templates later, it does not have those.
void TellOtherTemplates(StoreLook const& look, std::uint64_t findings) {
    if (findings == 0) return;
    Reporter(look.list, look.Directory() + "/" + Varnok::kTemplateArchive)
        .Gap("template-unknown", {}, fmt::format("findings name templates that are not in it: {}", findings),
             "the names and definitions of these templates");
}

}  // namespace

void CheckTaskStore(StoreLook const& look) {
    std::string const& root = look.root.root();
    DirectoryCheck directory(root, look.Directory(), look.list, look.watch);
    directory.Ignore(kScannersOwn);
    if (directory.Has(kRecord)) {
        CheckRecordFile(look, directory);
    } else {
        TellMissingRecord(look, directory);
    }
    bool const is_sound = CheckSnapshotFiles(
        root, directory,
        "the rules, classes or levels of its templates as they were, unless the task was being removed", look.list,
        look.watch);
    directory.ExpectFile("index");
    directory.ExpectFile("cache");
    directory.ExpectDirectory(kTexts);
    directory.TellRest();
    StoreCheck store(look.place, directory.name(), look.depth, look.list, look.watch);
    bool const has_templates = directory.Has(Varnok::kTemplateArchive);
    std::set<std::u16string> templates;
    if (has_templates && is_sound && ReadTemplates(root + "/" + directory.name(), templates))
        store.HoldAgainst(templates);
    store.Run();
    if (has_templates && store.IsEmpty()) TellNoIndex(look);
    TellOtherTemplates(look, store.of_other_templates());
    TellHalfRemoved(look, directory);
}

}  // namespace torvane
