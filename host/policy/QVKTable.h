#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/base/NoThrow.h"
#include "host/policy/ArchiveFile.h"
#include "host/policy/ArchiveReader.h"
#include "host/policy/ArchiveWriter.h"

// A table of records of one kind and its record file. `Node` supplies `kTag`, `kLeastBytes` (the fewest bytes that a record
// takes), `Encode(ArchiveWriter&) const` and `Decode(ArchiveReader&)`. A value; the file operations never throw.
template <class Node>
class QVKTable {
public:
    std::vector<Node> nodes;

    // Replaces the record file in one step. 0 on success, else errno.
    [[nodiscard]] int to_file(HString const& path) const noexcept
    {
        return NoThrow(ENOMEM, [&] {
            Varnok::ArchiveWriter writer;
            for (Node const& node : nodes) node.Encode(writer);
            return Varnok::WriteArchive(path, Node::kTag, static_cast<std::uint32_t>(nodes.size()), writer.bytes());
        });
    }

    // Reads the record file into the table. 0 on success; ENOENT: missing; EBADMSG: damaged or foreign; any other errno:
    // could not be read. On failure the table is empty.
    [[nodiscard]] int from_file(HString const& path) noexcept
    {
        nodes.clear();
        return NoThrow(ENOMEM, [&] {
            std::string body;
            std::uint32_t count = 0;
            if (int const failed = Varnok::ReadArchive(path, Node::kTag, count, body)) return failed;
            std::vector<Node> read;
            if (!Decode(body, count, read)) return EBADMSG;
            nodes = std::move(read);
            return 0;
        });
    }

private:
    static bool Decode(std::string const& body, std::uint32_t count, std::vector<Node>& read)
    {
        if (count > body.size() / Node::kLeastBytes) return false;
        Varnok::ArchiveReader reader(body);
        for (std::uint32_t i = 0; i < count; ++i) {
            if (!read.emplace_back().Decode(reader)) return false;
        }
        return reader.AtEnd();
    }
};
