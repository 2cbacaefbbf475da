#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/NoThrow.h"
#include "host/policy/ArchiveFile.h"
#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"
#include "host/policy/QVKTable.h"

// The file operations of QVKTable, for the sources that make a kind of table. `Node` supplies `kTag`, `kLeastBytes`
// (the fewest bytes that a record takes), `Encode(Varnok::ArchiveWriter&) const` and `Decode(Varnok::ArchiveReader&)`.
namespace Varnok {

// The records of an archive's body; false when it does not hold exactly `count` of them. Throws std::bad_alloc only.
template <class Node>
[[nodiscard]] bool DecodeTable(std::string_view body, std::uint32_t count, std::vector<Node>& nodes) {
    if (count > body.size() / Node::kLeastBytes) return false;
    ArchiveReader reader(body);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!nodes.emplace_back().Decode(reader)) return false;
    }
    return reader.AtEnd();
}

}  // namespace Varnok

template <class Node>
int QVKTable<Node>::to_file(HString const& path) const noexcept {
    return NoThrow(ENOMEM, [&] {
        Varnok::ArchiveWriter writer;
        for (Node const& node : nodes)
            node.Encode(writer);
        // A number of records that 32 bits do not hold is far above the limit that WriteArchive sets.
        return Varnok::WriteArchive(path, Node::kTag, static_cast<std::uint32_t>(nodes.size()), writer.bytes());
    });
}

template <class Node>
int QVKTable<Node>::from_file(HString const& path) noexcept {
    nodes.clear();
    return NoThrow(ENOMEM, [&] {
        std::string body;
        std::uint32_t count = 0;
        if (int const failed = Varnok::ReadArchive(path, Node::kTag, count, body)) return failed;
        std::vector<Node> read;
        if (!Varnok::DecodeTable(body, count, read)) return EBADMSG;
        nodes = std::move(read);
        return 0;
    });
}
