// The counts of a file: whatever bytes there are, they are refused or read, and what a store would accept is written
// again as the bytes that it came from.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "sensrecord/DLPCacheSensRecordNode.h"
#include "tests/fuzz/FuzzCheck.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string bytes(reinterpret_cast<char const*>(data), size);
    DLPCache::SensRecordNode record;
    bool const read = record.FromBuffer(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(size));
    // Nothing but its own length is refused.
    std::string_view const length("\x10\0\0\0", 4);
    FUZZ_CHECK(read == (size >= 16 && std::string_view(bytes).substr(0, 4) == length));
    if (!read) return 0;

    unsigned char* encoded = nullptr;
    int encoded_length = 0;
    FUZZ_CHECK(record.ToBuffer(encoded, encoded_length));
    std::unique_ptr<unsigned char[]> const owner(encoded);
    FUZZ_CHECK(encoded_length == 16 && record.Size() == 16);
    FUZZ_CHECK(std::string_view(reinterpret_cast<char const*>(encoded), 16) == std::string_view(bytes).substr(0, 16));
    return 0;
}
