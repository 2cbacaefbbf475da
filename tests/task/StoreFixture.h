#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "host/policy/KwDefinitions.h"
#include "host/policy/ScanTask.h"
#include "host/policy/SensFile.h"
#include "task/DLPCacheTask.h"
#include "task/DLPCacheTaskStore.h"
#include "tests/support/LogLines.h"
#include "tests/support/TempRoot.h"

// A root of its own with these definitions in place:
//
//     template "T1" named "Contracts": rule "R1", data class "C1" ("Secret"), data level "L1" ("High", 3)
//     template "T2" named "Invoices": rule "R2", data class "C2" ("Money"), data level "L2" ("Low", 1)
//
// and a task "task-1" whose policy has both.
class StoreFixture : public testing::Test {
  protected:
    StoreFixture();

    // Puts `definitions_` in place, as they stand.
    void Install() const;
    // Changes what template T1 looks for, and with it its MD5.
    void ChangeT1();
    // Takes a template out of the definitions.
    void RemoveTemplate(char const* id);
    static HString CurrentMd5(char const* tpl_id);

    [[nodiscard]] DLPCacheTaskStore OpenStore() const { return DLPCacheTaskStore(task_); }
    [[nodiscard]] std::unique_ptr<DLPCacheTask> OpenWriter() const { return std::make_unique<DLPCacheTask>(&task_); }

    // A task's directory, ending in a separator.
    [[nodiscard]] std::string Dir() const { return Dir("task-1"); }
    [[nodiscard]] std::string Dir(std::string const& task_id) const { return root_ / "cache/task/" + task_id + "/"; }

    TempRoot root_;
    KwDefinitions definitions_;
    ScanTask task_;
};

ScanTask MakeTask(std::string const& id, std::vector<HString> const& tpl_ids);
// A file of task-1 that T1 and T2 matched, as the scanner hands it over.
SensFile MakeFile(std::string const& path);
// The same as the store gives it back under `sn`.
SensFile Stored(std::string const& path, int sn);

// What Find gives. The file has been used before.
struct FoundFile {
    int code = 0;
    SensFile file;
};
template <class Source>
FoundFile FindIn(Source const& source, int sn) {
    FoundFile found;
    found.file = MakeFile("used before");
    found.file.tpl_md5s = {"used before"};
    found.code = source.Find(sn, found.file);
    return found;
}
// The code alone.
template <class Source>
int CodeOf(Source const& source, int sn) {
    return FindIn(source, sn).code;
}

// The lines that task/ has written since the last call, as "<level> <text>". Those of the layers below have tests of
// their own.
std::vector<std::string> TakeOwn(LogLines& log);
