#include <cerrno>
#include <cstring>

#include "host/policy/KwArchivePath.h"
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
        .Waste("unfinished", {},
               "a half removed task: the definitions that its findings were recorded under are gone, and with them the "
               "names of templates",
               0);
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
    (void)CheckSnapshotFiles(root, directory, look.list, look.watch);
    directory.ExpectFile("index");
    directory.ExpectFile("cache");
    directory.ExpectDirectory(kTexts);
    directory.TellRest();
    StoreCheck(look.place, directory.name(), look.depth, look.list, look.watch).Run();
    TellHalfRemoved(look, directory);
}

}  // namespace torvane
