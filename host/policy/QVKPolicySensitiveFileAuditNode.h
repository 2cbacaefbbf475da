#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKPolicyCommon.h"

namespace Varnok {
class ArchiveReader;
class ArchiveWriter;
}  // namespace Varnok

// One policy's settings for the audit of sensitive files. A value; copies share the header. The fields of an archive's
// record are those of the header (time stamp of 64 bits, id, name, record key) and then the members below, in this
// order (flags 32 bits, keep one byte, 0 or 1).
struct TORVANE_API QVKPolicySensitiveFileAuditNode {
    static constexpr int kRealtimeIdByPolicy = 8;  // in `flags`: realtime task ids carry the policy id

    std::shared_ptr<QVKPolicyCommon> policy = std::make_shared<QVKPolicyCommon>();  // null stands for an empty one
    std::vector<HString> tpl_ids;                                                   // of the policy's templates
    int flags = 0;
    bool keep = false;  // an open task of this policy stays open after the policy changed

    // The header, or an empty one that lives as long as the process.
    [[nodiscard]] QVKPolicyCommon const& header() const noexcept;

    static constexpr char kTag[5] = "PSFA";
    static constexpr std::size_t kLeastBytes = 29;
    // The record in an archive, and back. Encode throws as ArchiveWriter does, Decode std::bad_alloc only; when Decode
    // returns false the record is partly read, to be discarded.
    void Encode(Varnok::ArchiveWriter& writer) const;
    [[nodiscard]] bool Decode(Varnok::ArchiveReader& reader);
};
