#include "tools/torvane/check/TreeCheck.h"

#include "host/policy/KwIdName.h"
#include "tools/torvane/check/DirectoryCheck.h"

namespace torvane {

void CheckTop(std::string const& root, FindingList& list, ChangeWatch& watch) {
    DirectoryCheck directory(root, "cache", list, watch);
    directory.Ignore("Version.ini");
    for (char const* const name : {"template", "task", "sensrecord"})
        directory.ExpectDirectory(name);
    directory.TellRest();
}

void CheckIds(std::string const& root, std::string const& name, FindingList& list, ChangeWatch& watch) {
    DirectoryCheck directory(root, name, list, watch);
    for (std::string const& entry : directory.names()) {
        HString id;
        // An id may look like one.
        if (IsTemporaryName(entry) && !directory.IsDirectory(entry)) continue;
        if (Varnok::FileNameToId(HString(entry), id)) directory.ExpectDirectory(entry);
    }
    directory.TellRest();
}

void CheckCountersTop(std::string const& root, FindingList& list, ChangeWatch& watch) {
    DirectoryCheck directory(root, "cache/sensrecord", list, watch);
    directory.ExpectDirectory("1");
    directory.TellRest();
}

}  // namespace torvane
