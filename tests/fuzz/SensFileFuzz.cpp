// A stored finding: whatever bytes there are, they are refused or read, and what the store would accept is written
// again and read back as the same finding.

#include <cstdint>
#include <memory>
#include <string>

#include "task/DLPCacheSensFileNode.h"
#include "tests/fuzz/FuzzCheck.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string bytes(reinterpret_cast<char const*>(data), size);
    DLPCache::SensFileNode record;
    bool const read = record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(size));
    FUZZ_CHECK(record.tpl_ids.size() <= size / 2);
    if (!read || record.Size() != static_cast<int>(size)) return 0;

    SensFile file;
    record.GiveTo(file);
    FUZZ_CHECK(DLPCache::SensFileNode::IsEncodable(file));
    DLPCache::SensFileNode copy(file);
    unsigned char* encoded = nullptr;
    int length = 0;
    FUZZ_CHECK(copy.ToBuffer(encoded, length));
    std::unique_ptr<unsigned char[]> const owner(encoded);
    // Not the same bytes: any count below 1 stands for an empty list.
    FUZZ_CHECK(length == static_cast<int>(size));
    DLPCache::SensFileNode again;
    FUZZ_CHECK(again.FromBuffer(encoded, length));
    SensFile same;
    again.GiveTo(same);
    FUZZ_CHECK(same == file);
    return 0;
}
