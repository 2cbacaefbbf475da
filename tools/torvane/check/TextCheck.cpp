#include "tools/torvane/check/TextCheck.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "host/policy/KwIdName.h"
#include "host/policy/QVKKeywordText.h"
#include "tools/torvane/cache/CacheRoot.h"
#include "tools/torvane/check/ArchiveLook.h"
#include "tools/torvane/check/DirectoryCheck.h"

namespace torvane {

namespace {

bool IsTextName(std::string const& path) {
    std::string name;
    HString text;
    return IsArchive(path.substr(path.rfind('/') + 1), name) && Varnok::FileNameToId(HString(name), text);
}

}  // namespace

void CheckTextFile(std::string const& root, std::string const& file, Depth depth, FindingList& list,
                   ChangeWatch& watch) {
    std::string const path = root + "/" + file;
    watch.Add(path);
    struct stat status {};
    if (!LookAtEntry(root, file, status, list)) return;
    if (!IsTextName(path) || !S_ISREG(status.st_mode)) return TellUnexpectedEntry(root, file, list);
    if (depth == Depth::kQuick) return;
    QVKKeywordText text;
    int const error = MayBeArchive(path) ? text.from_file(HString(path)) : EBADMSG;
    if (error == 0 || error == ENOENT) return;
    Reporter const report(list, file);
    if (error != EBADMSG) return report.Unreadable(std::strerror(error));
    report.Damage("text-damaged", {}, "the text cannot be decoded", "one text");
}

}  // namespace torvane
