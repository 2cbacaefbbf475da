// A stored answer of a template cache: whatever bytes there are, they are refused or read, and what the cache would
// accept is written again and read back as the same answer.

#include <cstdint>
#include <memory>
#include <string>

#include "template/DLPCacheTplNode.h"
#include "tests/fuzz/FuzzCheck.h"

namespace {

struct Answer {
    bool given = false;
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    HString stored_name;

    friend bool operator==(Answer const&, Answer const&) = default;
};

Answer Give(DLPCache::TplNode& record) {
    Answer answer;
    answer.given = record.GetKeywordAttach(answer.node, answer.text);
    answer.stored_name = record.stored_name;
    return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string bytes(reinterpret_cast<char const*>(data), size);
    DLPCache::TplNode record;
    bool const read = record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(size));
    FUZZ_CHECK(record.rules.size() <= size / 4);
    Answer const answer = Give(record);
    if (!read || record.Size() != static_cast<int>(size)) return 0;

    unsigned char* encoded = nullptr;
    int length = 0;
    FUZZ_CHECK(record.ToBuffer(encoded, length));
    std::unique_ptr<unsigned char[]> const owner(encoded);
    FUZZ_CHECK(length == static_cast<int>(size));
    DLPCache::TplNode again;
    FUZZ_CHECK(again.FromBuffer(encoded, length));
    FUZZ_CHECK(Give(again) == answer);
    QVKReportKeywordAttachNode node;
    QVKKeywordText text;
    FUZZ_CHECK(again.GiveKeywordAttach(node, text) == answer.given);
    FUZZ_CHECK(node == answer.node && (!answer.given || text == answer.text));
    return 0;
}
