// The buffer form of a keyword text: whatever bytes it holds, it is refused or read as exactly what it says.

#include <cstdint>
#include <cstring>
#include <memory>

#include "host/policy/QVKKeywordText.h"
#include "tests/fuzz/FuzzCheck.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    QVKKeywordText text;
    text.text = "from before";
    if (!text.from_buffer(reinterpret_cast<char const*>(data), static_cast<long long>(size))) {
        FUZZ_CHECK(text == QVKKeywordText());
        return 0;
    }
    char* buf = nullptr;
    long long len = 0;
    FUZZ_CHECK(text.to_buffer(buf, len));
    std::unique_ptr<char[]> const owner(buf);
    FUZZ_CHECK(len == static_cast<long long>(size) && std::memcmp(buf, data, size) == 0);
    return 0;
}
