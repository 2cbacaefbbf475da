#pragma once

#include <cstddef>
#include <memory>

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKCommon.h"

namespace Varnok {
class ArchiveReader;
class ArchiveWriter;
}  // namespace Varnok

// The definition of a rule (format item). A value; copies share the common part, which
// KwDefineMgr never changes and copies when it takes the record over. The fields of an archive's record are the common
// part and then the members below, in this order (texts and lists as ArchiveWriter writes them, integers of 32 bits).
struct TORVANE_API QVKConfigKeywordFormatItemNode {
    std::shared_ptr<QVKCommon> common = std::make_shared<QVKCommon>();  // null stands for an empty one
    int sub_type = 0;                                                   // what the rule looks for, 1001 to 4002
    int rule_type = 0;    // 1 content, 2 file attribute, 3 classification, 4 extension
    HString rule_text;    // keyword, expression, file name pattern, size range, ...
    HString description;  // shown in place of the rule text when not empty
    int min_count = 1;    // fewest matches at which the rule counts as matched

    // Ordered and equal by id.
    friend bool operator<(QVKConfigKeywordFormatItemNode const& a, QVKConfigKeywordFormatItemNode const& b) noexcept {
        return QVKCommon::IdOf(a.common) < QVKCommon::IdOf(b.common);
    }
    friend bool operator==(QVKConfigKeywordFormatItemNode const& a, QVKConfigKeywordFormatItemNode const& b) noexcept {
        return QVKCommon::IdOf(a.common) == QVKCommon::IdOf(b.common);
    }

    static constexpr char kTag[5] = "KFMT";
    static constexpr std::size_t kLeastBytes = 36;
    // The record in an archive, and back. Encode throws as ArchiveWriter does, Decode std::bad_alloc only; when Decode
    // returns false the record is partly read, to be discarded.
    void Encode(Varnok::ArchiveWriter& writer) const;
    [[nodiscard]] bool Decode(Varnok::ArchiveReader& reader);
};
