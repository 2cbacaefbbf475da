#include "host/policy/KwDefinitions.h"

#include <cerrno>

#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwArchivePath.h"

namespace {

// Whether a table was kept; `failed` holds the errno of the first that was not.
template <class Table>
bool Kept(Table const& table, HString const& directory, char const* short_name, int& failed) {
    failed = table.to_file(Varnok::ArchivePath(directory, short_name));
    return failed == 0;
}

}  // namespace

int KwDefinitions::save(HString const& directory) const noexcept {
    return NoThrow(ENOMEM, [&] {
        if (directory.empty()) return EINVAL;
        // A directory that cannot be made is reported by the first file.
        (void)Varnok::MakeDir(directory);
        int failed = 0;
        (void)(Kept(rules, directory, Varnok::kFormatItemArchive, failed) &&
               Kept(data_classes, directory, Varnok::kDataClassArchive, failed) &&
               Kept(data_levels, directory, Varnok::kDataLevelArchive, failed) &&
               Kept(templates, directory, Varnok::kTemplateArchive, failed));
        return failed;
    });
}
