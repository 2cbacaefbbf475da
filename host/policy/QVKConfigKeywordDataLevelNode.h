#pragma once

#include <cstddef>
#include <memory>

#include "host/base/Export.h"
#include "host/policy/QVKCommon.h"

namespace Varnok {
class ArchiveReader;
class ArchiveWriter;
}  // namespace Varnok

// The definition of a data level. A value; copies share the common record, which is not changed once the node is installed. A
// default-constructed node has an empty common record.
struct TORVANE_API QVKConfigKeywordDataLevelNode {
    std::shared_ptr<QVKCommon> common = std::make_shared<QVKCommon>();  // never null
    int level = 0;

    // Ordered and equal by id.
    friend bool operator<(QVKConfigKeywordDataLevelNode const& a, QVKConfigKeywordDataLevelNode const& b) noexcept
    {
        return a.common->id < b.common->id;
    }
    friend bool operator==(QVKConfigKeywordDataLevelNode const& a, QVKConfigKeywordDataLevelNode const& b) noexcept
    {
        return a.common->id == b.common->id;
    }

    static constexpr char kTag[5] = "KLVL";
    static constexpr std::size_t kLeastBytes = 20;
    void Encode(Varnok::ArchiveWriter& writer) const;
    [[nodiscard]] bool Decode(Varnok::ArchiveReader& reader);
};
