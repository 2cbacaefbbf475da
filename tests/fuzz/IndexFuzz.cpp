// The index file: whatever bytes it holds, every operation gives the code, the place and the bytes that reading it slot
// by slot gives.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include "host/base/LittleEndian.h"
#include "host/base/Murmur3.h"
#include "storage/DLPCacheIndex.h"
#include "tests/fuzz/FuzzCheck.h"
#include "tests/fuzz/FuzzDirectory.h"

namespace {

using Varnok::LoadLittleEndian;

std::string const kTextKey = "0cc175b9c0f1b6a831c399e269772661";
constexpr long long kHead = 27;
constexpr long long kSlot = 57;

struct Place {
    long long offset = 5;
    int length = 7;
    friend bool operator==(Place const&, Place const&) = default;
};

// The index as a string of bytes, walked in the plainest way.
class Reference {
  public:
    explicit Reference(std::string bytes) : bytes_(std::move(bytes)) {}

    int Find(std::string const& key, Place& place) const {
        if (int const code = CheckHead(kHead + 1); code != 0) return code;
        long long steps = 0;
        for (long long at = FirstSlot(key);; at = Next(at)) {
            if (!MayStep(at, steps)) return -12;
            if (!Holds(at)) return -7;
            if (std::strncmp(Bytes(at), key.c_str(), 37) == 0) return Give(at, place);
            if (*Bytes(at) == 0 || Next(at) == 0) return 0;
        }
    }
    int Add(std::string const& key, Place const& place) {
        if (int const code = CheckHead(kHead + 1); code != 0) return code;
        long long steps = 0;
        long long at = FirstSlot(key);
        for (;; at = Next(at)) {
            if (!MayStep(at, steps) || !Holds(at)) return -12;
            if (*Bytes(at) == 0 || Next(at) == 0) break;
        }
        if (*Bytes(at) == 0) return Put(at, Encode(key, place));
        std::uint8_t link[8];
        Varnok::StoreLittleEndian(Size(), link);
        std::string const slot = Encode(key, place);
        bytes_.replace(static_cast<std::size_t>(at) + 49, 8, reinterpret_cast<char const*>(link), 8);
        return Put(Size(), slot);
    }
    int Find(int key, Place& place) const {
        if (int const code = CheckHead(kHead); code != 0) return code;
        long long const at = kHead + (key - 1LL) * kSlot;
        if (!Holds(at)) return 0;
        if (std::strncmp(Bytes(at), std::to_string(key).c_str(), 37) == 0) return Give(at, place);
        if (*Bytes(at) == 0) return 0;
        return Next(at) == 0 ? -12 : -7;
    }
    int Add(int key, Place const& place) {
        if (int const code = CheckHead(kHead); code != 0) return code;
        long long const at = kHead + (key - 1LL) * kSlot;
        if (at > Size()) return -12;
        return Put(at, Encode(std::to_string(key), place));
    }
    [[nodiscard]] std::string const& Content() const { return bytes_; }

  private:
    [[nodiscard]] long long Size() const { return static_cast<long long>(bytes_.size()); }
    [[nodiscard]] char const* Bytes(long long at) const { return bytes_.data() + at; }
    template <class Integer>
    [[nodiscard]] Integer Load(long long at) const {
        return LoadLittleEndian<Integer>(reinterpret_cast<std::uint8_t const*>(Bytes(at)));
    }
    [[nodiscard]] long long Next(long long at) const { return Load<long long>(at + 49); }
    [[nodiscard]] bool Holds(long long at) const { return at <= Size() - kSlot; }

    [[nodiscard]] int CheckHead(long long least) const {
        if (Size() < least) return -12;
        bool const valid =
            bytes_.starts_with("DLPTplCacheIndexHead") && bytes_[21] == 5 && bytes_[22] == 2 && Load<int>(23) < 5000001;
        return valid ? 0 : -11;
    }
    [[nodiscard]] long long FirstSlot(std::string const& key) const {
        auto const buckets = Load<std::uint32_t>(23);
        auto const hash = Varnok::Murmur3_32(key.data(), static_cast<int>(key.size()));
        return kHead + ((buckets == 0 ? 0LL : hash % buckets) - 1) * kSlot;
    }
    // No position before the file, no more steps than there are slots.
    [[nodiscard]] bool MayStep(long long at, long long& steps) const {
        return at >= 0 && ++steps <= (Size() - kHead + kSlot - 1) / kSlot;
    }
    int Give(long long at, Place& place) const {
        place = {Load<long long>(at + 37), Load<int>(at + 45)};
        return 1;
    }
    static std::string Encode(std::string key, Place const& place) {
        DLPCache::IndexKey slot;
        std::copy(key.begin(), key.end(), slot.str_key);
        slot.offset = place.offset;
        slot.length = place.length;
        std::uint8_t bytes[kSlot];
        DLPCache::EncodeIndexKey(slot, bytes);
        return {bytes, bytes + kSlot};
    }
    int Put(long long at, std::string const& slot) {
        auto const start = static_cast<std::size_t>(at);
        bytes_.resize(std::max(bytes_.size(), start + slot.size()));
        bytes_.replace(start, slot.size(), slot);
        return 0;
    }

    std::string bytes_;
};

// Long chains from few bytes: each two name the slot that follows, and by their highest bit a place between two slots.
std::string Chained(std::string_view input) {
    std::string file("DLPTplCacheIndexHead\0\5\2\2\0\0\0", kHead);
    for (std::size_t i = 0; i + 1 < input.size(); i += 2) {
        auto const value = LoadLittleEndian<std::uint16_t>(reinterpret_cast<std::uint8_t const*>(input.data() + i));
        std::uint8_t next[8];
        Varnok::StoreLittleEndian(value == 0 ? 0LL : kHead + (value & 0x7FFFLL) * kSlot + (value >> 15) * 11, next);
        file += "x" + std::string(48, '\0') + std::string(next, next + 8);
    }
    return file;
}

std::string ReadBack(std::string const& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

template <class Key>
void FindAndAdd(DLPCache::Index const& index, Reference& reference, std::string const& path, Key const& key) {
    for (int round = 0; round < 3; ++round) {
        Place expected;
        Place found;
        int const code = reference.Find(key, expected);
        FUZZ_CHECK(index.Find(key, found.offset, found.length) == code);
        FUZZ_CHECK(found == expected);
        Place const place{round, 1000 + round};
        int const added = reference.Add(key, place);
        FUZZ_CHECK(index.Add(key, place.offset, place.length) == added);
        FUZZ_CHECK(ReadBack(path) == reference.Content());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static FuzzDirectory const directory;
    if (size == 0) return 0;
    std::string_view const input(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::string const content = data[0] % 2 == 0 ? std::string(input) : Chained(input);
    std::string const path = directory.File("index", content);
    DLPCache::Index const index{HString(path)};
    Reference reference(content);
    FindAndAdd(index, reference, path, kTextKey);
    FindAndAdd(index, reference, path, 1);
    FindAndAdd(index, reference, path, 1 + data[0] / 2);
    return 0;
}
