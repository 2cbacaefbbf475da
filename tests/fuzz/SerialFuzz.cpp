// The coding of texts and lists: whatever bytes there are, they are refused or read as what they say, and what was read
// is written as the bytes that it came from.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/fuzz/FuzzCheck.h"
#include "tests/storage/SerialFixture.h"

namespace {

// What was written of the text or list.
template <class Write>
std::string Written(int size, Write const& write) {
    Output output(static_cast<std::size_t>(size));
    FUZZ_CHECK(write(output.Get()));
    FUZZ_CHECK(output.Bytes().size() == static_cast<std::size_t>(size));
    return output.Bytes();
}

void ReadText(std::string_view bytes, int limit) {
    Record record;
    Input input(bytes);
    HString text("before");
    if (!record.ReadHString(input.Get(), text, limit)) {
        FUZZ_CHECK(text.empty());
        return;
    }
    FUZZ_CHECK(limit < 1 || text.length() <= limit);
    auto const used = bytes.size() - static_cast<std::size_t>(input.Remaining());
    std::string const again =
        Written(record.Size(text), [&](Varnok::Writer* w) { return record.WriteHString(w, text, limit); });
    FUZZ_CHECK(again.size() <= used);  // less when a zero unit ended the text
    if (again.size() == used) FUZZ_CHECK(again == bytes.substr(0, used));
}

void ReadList(std::string_view bytes, int limit) {
    Record record;
    Input input(bytes);
    std::vector<HString> texts;
    bool const read = record.ReadVTHString(input.Get(), texts, limit);
    FUZZ_CHECK(texts.size() <= bytes.size() / 2);
    if (!read || texts.empty()) return;
    auto const used = bytes.size() - static_cast<std::size_t>(input.Remaining());
    std::string const again =
        Written(record.Size(texts), [&](Varnok::Writer* w) { return record.WriteVTHString(w, texts, limit); });
    FUZZ_CHECK(again.size() <= used);
    if (again.size() == used) FUZZ_CHECK(again == bytes.substr(0, used));
}

// A record of a text, a list and a number, as records of the caches are.
struct Sample : Record {
    HString text;
    std::vector<HString> list;
    int number = 0;

    [[nodiscard]] int Size() const override { return Record::Size(text) + Record::Size(list) + Record::Size(number); }
    bool Write(Varnok::Writer* w) override {
        return WriteHString(w, text, 0) && WriteVTHString(w, list, 0) && w->write_int32(number) == 4;
    }
    bool Read(Varnok::Reader* r, int /*size*/) override {
        return ReadHString(r, text, 0) && ReadVTHString(r, list, 0) && r->read_int32(number) == 4;
    }
};

void ReadRecord(std::string_view bytes) {
    std::string copy(bytes);
    Sample first;
    if (!first.FromBuffer(reinterpret_cast<unsigned char*>(copy.data()), static_cast<int>(copy.size()))) return;
    unsigned char* buf = nullptr;
    int len = 0;
    FUZZ_CHECK(first.ToBuffer(buf, len));
    std::unique_ptr<unsigned char[]> const owner(buf);
    Sample second;
    FUZZ_CHECK(second.FromBuffer(buf, len));
    FUZZ_CHECK(second.text == first.text && second.list == first.list && second.number == first.number);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0) return 0;
    std::string_view const bytes(reinterpret_cast<char const*>(data) + 1, size - 1);
    int const limit = static_cast<signed char>(data[0]);
    ReadText(bytes, limit);
    ReadList(bytes, limit);
    ReadRecord(bytes);
    return 0;
}
