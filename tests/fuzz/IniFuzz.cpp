// Ini files: whatever they hold, a number written into them is found again and everything else stays.

#include <cstdint>
#include <string_view>

#include "host/base/HIniFileHelper.h"
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/FuzzDirectory.h"

namespace {

using Entries = HIniFileHelper::Entries;

char const* const kSection = "DLPCache";
char const* const kKey = "iIndexBucketSize";

Entries Read(HIniFileHelper const& ini, char const* section) {
    Entries entries;
    FUZZ_CHECK(ini.read_section(section, entries));
    return entries;
}

// The entries but those of our key.
Entries Others(HIniFileHelper const& ini, char const* section) {
    Entries others = Read(ini, section);
    std::erase_if(others, [](auto const& entry) { return entry.first == kKey; });
    return others;
}

void CheckEntry(Entries::value_type const& entry) {
    FUZZ_CHECK(!entry.first.empty());
    FUZZ_CHECK(entry.first.find_first_of("=\n") == std::string::npos);
    FUZZ_CHECK(entry.second.find('\n') == std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static FuzzDirectory const directory;
    std::string_view const content(reinterpret_cast<char const*>(data), size);
    HString const path(directory.File("fuzz.ini", content));

    HIniFileHelper ini;
    FUZZ_CHECK(ini.setFile(path) == 0);
    Entries const before = Others(ini, kSection);
    Entries const elsewhere = Read(ini, "DLP");
    for (auto const& entry : Read(ini, kSection))
        CheckEntry(entry);
    int value = 77;
    FUZZ_CHECK(ini.read_int(kSection, kKey, value) == 0 || value == 77);

    FUZZ_CHECK(ini.write_int(kSection, kKey, -123) == 0);
    FUZZ_CHECK(ini.write_all() == 0);
    HIniFileHelper again;
    FUZZ_CHECK(again.setFile(path) == 0);
    FUZZ_CHECK(again.read_int(kSection, kKey, value) == 0 && value == -123);
    FUZZ_CHECK(Others(again, kSection) == before);
    FUZZ_CHECK(Read(again, "DLP") == elsewhere);
    return 0;
}
