#pragma once

#include <memory>
#include <string_view>

#include "host/base/Export.h"
#include "host/base/HString.h"

namespace Varnok {
class ArchiveReader;
class ArchiveWriter;
}  // namespace Varnok

// What every definition record has in common. A value.
struct TORVANE_API QVKCommon {
    long long update_time = 0;  // seconds since 1970-01-01 UTC of the last edit; carried only
    HString id;
    HString name;

    // The operations below take the common part of a record, where null stands for an empty one.

    // The units of the id, valid as long as the common part.
    [[nodiscard]] static std::u16string_view IdOf(std::shared_ptr<QVKCommon> const& common) noexcept {
        return common ? common->id.view() : std::u16string_view();
    }
    // The first fields of a record in an archive: update time (64 bits), id, name.
    static void Encode(std::shared_ptr<QVKCommon> const& common, Varnok::ArchiveWriter& writer);
    // Reads them into a new object, so that copies of the record keep theirs.
    [[nodiscard]] static bool Decode(std::shared_ptr<QVKCommon>& common, Varnok::ArchiveReader& reader);
};
