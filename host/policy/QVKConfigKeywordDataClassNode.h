#pragma once

#include <cstddef>
#include <memory>

#include "host/base/Export.h"
#include "host/policy/QVKCommon.h"

namespace Varnok {
class ArchiveReader;
class ArchiveWriter;
}  // namespace Varnok

// The definition of a data class. A value; copies share the common record, which is not changed once the node is installed. A
// default-constructed node has an empty common record.
struct TORVANE_API QVKConfigKeywordDataClassNode {
    std::shared_ptr<QVKCommon> common = std::make_shared<QVKCommon>();  // never null

    // Ordered and equal by id.
    friend bool operator<(QVKConfigKeywordDataClassNode const& a, QVKConfigKeywordDataClassNode const& b) noexcept
    {
        return a.common->id < b.common->id;
    }
    friend bool operator==(QVKConfigKeywordDataClassNode const& a, QVKConfigKeywordDataClassNode const& b) noexcept
    {
        return a.common->id == b.common->id;
    }

    static constexpr char kTag[5] = "KCLS";
    static constexpr std::size_t kLeastBytes = 16;
    void Encode(Varnok::ArchiveWriter& writer) const;
    [[nodiscard]] bool Decode(Varnok::ArchiveReader& reader);
};
