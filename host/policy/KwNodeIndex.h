#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/base/HString.h"
#include "host/policy/QVKCommon.h"

// The records of one kind in a set of definitions, found by id. Immutable once made, so any thread may read. Of records
// with the same id the first is kept. The records' common parts are copies of its own: what the agent does to the
// records that it handed over does not reach them. The constructor throws std::bad_alloc; nothing else does.
template <class Node>
class KwNodeIndex {
  public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    explicit KwNodeIndex(std::vector<Node> nodes) : nodes_(std::move(nodes)) {
        std::size_t kept = 0;
        by_id_.reserve(nodes_.size());
        for (Node& node : nodes_) {
            auto common = node.common ? std::make_shared<QVKCommon>(*node.common) : std::make_shared<QVKCommon>();
            if (!by_id_.emplace(common->id.view(), kept).second) continue;
            node.common = std::move(common);
            if (&nodes_[kept] != &node) nodes_[kept] = std::move(node);
            ++kept;
        }
        nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(kept), nodes_.end());
    }

    [[nodiscard]] std::vector<Node> const& nodes() const noexcept { return nodes_; }

    // To complete a record before anyone else sees it; its id must stay.
    [[nodiscard]] Node& NodeAt(std::size_t position) noexcept { return nodes_[position]; }

    [[nodiscard]] Node const* Find(HString const& id) const noexcept {
        auto const found = by_id_.find(id.view());
        return found == by_id_.end() ? nullptr : &nodes_[found->second];
    }

    // The position of a record that lies here, told by its address; kNone for any other (a copy, for instance).
    [[nodiscard]] std::size_t PositionOf(Node const& node) const noexcept {
        Node const* const first = nodes_.data();
        bool const before = std::less<>()(&node, first);
        bool const inside = !before && std::less<>()(&node, first + nodes_.size());
        return inside ? static_cast<std::size_t>(&node - first) : kNone;
    }

  private:
    std::vector<Node> nodes_;
    std::unordered_map<std::u16string_view, std::size_t> by_id_;  // the keys lie in the records' common parts
};
