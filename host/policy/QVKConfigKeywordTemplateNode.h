#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "host/base/Export.h"
#include "host/base/HString.h"
#include "host/policy/QVKCommon.h"

namespace Varnok {
class ArchiveReader;
class ArchiveWriter;
}  // namespace Varnok

// The definition of a keyword template: which rules it has and how its findings are classed. A value; copies share the
// common part, which KwDefineMgr never changes and copies when it takes the record over. The fields of an archive's
// record are the common part and then the next three members, in this order (texts and lists as ArchiveWriter writes
// them, integers of 32 bits).
struct TORVANE_API QVKConfigKeywordTemplateNode {
    std::shared_ptr<QVKCommon> common = std::make_shared<QVKCommon>();  // null stands for an empty one
    HString data_class_id;
    HString data_level_id;
    std::vector<HString> rule_ids;

    // Not in an archive: what get_data_md5 tells. Set by the manager in its own records, whatever stood there.
    HString data_md5;

    // The MD5 of KwDefineMgr::get_md5_by_tpl in a record that a manager has handed out and in copies of it, worked out
    // when the manager took the record over; in any other empty.
    [[nodiscard]] HString get_data_md5() const noexcept { return data_md5; }

    // Ordered and equal by id.
    friend bool operator<(QVKConfigKeywordTemplateNode const& a, QVKConfigKeywordTemplateNode const& b) noexcept {
        return QVKCommon::IdOf(a.common) < QVKCommon::IdOf(b.common);
    }
    friend bool operator==(QVKConfigKeywordTemplateNode const& a, QVKConfigKeywordTemplateNode const& b) noexcept {
        return QVKCommon::IdOf(a.common) == QVKCommon::IdOf(b.common);
    }

    static constexpr char kTag[5] = "KTPL";
    static constexpr std::size_t kLeastBytes = 28;
    // The record in an archive, and back. Encode throws as ArchiveWriter does, Decode std::bad_alloc only; when Decode
    // returns false the record is partly read, to be discarded.
    void Encode(Varnok::ArchiveWriter& writer) const;
    [[nodiscard]] bool Decode(Varnok::ArchiveReader& reader);
};
