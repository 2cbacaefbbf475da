// The record files of the tables: whatever bytes they hold, they are refused or read as exactly what they say.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/LittleEndian.h"
#include "host/policy/QVKConfigKeywordDataClassVT.h"
#include "host/policy/QVKConfigKeywordDataLevelVT.h"
#include "host/policy/QVKConfigKeywordFormatItemVT.h"
#include "host/policy/QVKConfigKeywordTemplateVT.h"
#include "host/policy/QVKPolicySensitiveFileAuditVT.h"
#include "host/policy/QVKTableFile.h"
#include "tests/fuzz/FuzzCheck.h"

namespace {

template <class Node>
void DecodeBody(std::string_view body, std::uint32_t count) {
    std::vector<Node> nodes;
    if (!Varnok::DecodeTable(body, count, nodes)) return;
    FUZZ_CHECK(nodes.size() == count);
    Varnok::ArchiveWriter writer;
    for (Node const& node : nodes)
        node.Encode(writer);
    FUZZ_CHECK(writer.bytes() == body);
}

template <class Node>
void ReadFile(std::string content) {
    std::string const bytes = content;
    std::uint32_t count = 0;
    if (!Varnok::UnpackArchive(content, Node::kTag, count)) return;
    FUZZ_CHECK(Varnok::PackArchive(Node::kTag, count, content) == bytes);
    DecodeBody<Node>(content, count);
}

// A count and a body, as if the checksum were right.
template <class Node>
void ReadFileOf(std::string_view input) {
    if (input.size() < sizeof(std::uint32_t)) return;
    auto const count = Varnok::LoadLittleEndian<std::uint32_t>(reinterpret_cast<std::uint8_t const*>(input.data()));
    std::string_view const body = input.substr(sizeof count);
    std::string content = Varnok::PackArchive(Node::kTag, count, body);
    std::uint32_t unpacked_count = 0;
    FUZZ_CHECK(Varnok::UnpackArchive(content, Node::kTag, unpacked_count));
    FUZZ_CHECK(unpacked_count == count && content == body);
    DecodeBody<Node>(body, count);
}

template <class Node>
void Read(std::string_view input) {
    ReadFile<Node>(std::string(input));
    ReadFileOf<Node>(input);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const input(reinterpret_cast<char const*>(data), size);
    Read<QVKConfigKeywordTemplateNode>(input);
    Read<QVKConfigKeywordFormatItemNode>(input);
    Read<QVKConfigKeywordDataClassNode>(input);
    Read<QVKConfigKeywordDataLevelNode>(input);
    Read<QVKPolicySensitiveFileAuditNode>(input);
    return 0;
}
