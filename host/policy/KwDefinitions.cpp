#include "host/policy/KwDefinitions.h"

#include <cerrno>

#include "host/base/HFile.h"
#include "host/base/NoThrow.h"
#include "host/policy/KwArchivePath.h"

int KwDefinitions::save(HString const& directory) const noexcept {
    return NoThrow(ENOMEM, [&] {
        if (directory.empty()) return EINVAL;
        if (!Varnok::MakeDir(directory)) return errno != 0 ? errno : EIO;
        if (int const failed = rules.to_file(Varnok::ArchivePath(directory, Varnok::kFormatItemArchive))) return failed;
        if (int const failed = data_classes.to_file(Varnok::ArchivePath(directory, Varnok::kDataClassArchive)))
            return failed;
        if (int const failed = data_levels.to_file(Varnok::ArchivePath(directory, Varnok::kDataLevelArchive)))
            return failed;
        return templates.to_file(Varnok::ArchivePath(directory, Varnok::kTemplateArchive));
    });
}
