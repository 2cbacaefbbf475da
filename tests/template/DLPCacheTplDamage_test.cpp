// Damaged records and snapshots: whatever the bytes, a cache answers with what it was given or not at all.
#include <filesystem>

#include "storage/DLPCacheManager.h"
#include "tests/template/TplFixture.h"

namespace {

using testing::AnyOf;
namespace fs = std::filesystem;

class DLPCacheTplDamageTest : public TplFixture {
  protected:
    DLPCacheTplDamageTest() : cache_(Open()) {
        EXPECT_EQ(AddOne(*cache_), 1);
        record_ = ReadBytes(Dir() + "cache");
    }

    static int AddOne(DLPCacheTpl const& cache) {
        return cache.Add(HString("key"), TwoItems(), MakeText("text"), "name");
    }
    int FindRecord(std::string const& bytes) {
        WriteBytes(Dir() + "cache", bytes);
        return FindIn(*cache_, HString("key")).code;
    }
    // What the cache makes of any bytes that its store gives it.
    int FindRaw(std::string bytes) {
        DLPCache::Manager const store(101, Dir() + "index", Dir() + "cache");
        HString key;
        int added = -12;
        while (added == -12) {  // a key of bucket 0
            key = "raw" + std::to_string(++raw_);
            added = store.Add(key, reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
        }
        EXPECT_EQ(added, 1);
        return FindIn(*cache_, key).code;
    }

    std::unique_ptr<DLPCacheTpl> cache_;
    std::string record_;
    int raw_ = 0;
};

TEST_F(DLPCacheTplDamageTest, EveryFlippedByteIsFoundOrRefused) {
    for (std::size_t at = 0; at < record_.size(); ++at) {
        for (char const mask : {'\x01', '\x80'}) {
            std::string bytes = record_;
            bytes[at] = static_cast<char>(bytes[at] ^ mask);
            EXPECT_THAT(FindRecord(bytes), AnyOf(2, -18)) << at;
        }
    }
}

TEST_F(DLPCacheTplDamageTest, EveryWordOfOnesIsFoundOrRefused) {
    for (std::size_t at = 0; at + 4 <= record_.size(); ++at) {
        EXPECT_THAT(FindRecord(std::string(record_).replace(at, 4, "\xff\xff\xff\x7f")), AnyOf(2, -18)) << at;
        EXPECT_THAT(FindRecord(std::string(record_).replace(at, 4, "\xff\xff\xff\xff")), AnyOf(2, -18)) << at;
    }
}

TEST_F(DLPCacheTplDamageTest, DataFileCutOffAnywhereCannotBeRead) {
    for (std::size_t length = 0; length < record_.size(); ++length)
        EXPECT_EQ(FindRecord(record_.substr(0, length)), -13);
}

TEST_F(DLPCacheTplDamageTest, RecordCutOffAnywhereIsNotDecoded) {
    NotSound();
    for (std::size_t length = 1; length < record_.size(); ++length) {
        std::string const cut = record_.substr(0, length);
        EXPECT_EQ(FindRaw(cut), -18) << length;
        std::string with_size = cut;
        if (length >= 4) with_size.replace(0, 2, {static_cast<char>(length & 0xff), static_cast<char>(length >> 8)});
        EXPECT_EQ(FindRaw(with_size), -18) << length;
    }
}

TEST_F(DLPCacheTplDamageTest, RecordWithSomethingBehindItIsNotDecoded) {
    NotSound();
    std::string longer = record_ + std::string(1, '\0');
    EXPECT_EQ(FindRaw(longer), -18);
    longer[0] = static_cast<char>(longer[0] + 1);
    EXPECT_EQ(FindRaw(longer), -18);
}

class DamagedFileTest : public DLPCacheTplDamageTest, public testing::WithParamInterface<char const*> {};
INSTANTIATE_TEST_SUITE_P(Files, DamagedFileTest, testing::Values("KeywordTemplate.arc", "KeywordFormatItem.arc"),
                         [](auto const& test) { return fs::path(test.param).stem().string(); });

TEST_P(DamagedFileTest, AnyFlippedByteMakesTheCacheAnew) {
    std::string const path = Dir() + GetParam();
    std::string const whole = ReadBytes(path);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string bytes = whole;
        bytes[at] = static_cast<char>(bytes[at] ^ 0x10);
        WriteBytes(path, bytes);
        auto const cache = Open();
        EXPECT_EQ(FindIn(*cache, HString("key")).code, 0) << at;
        EXPECT_EQ(AddOne(*cache), 1) << at;
        EXPECT_EQ(ReadBytes(path), whole);
    }
}

TEST_P(DamagedFileTest, CutOffAnywhereMakesTheCacheAnew) {
    std::string const path = Dir() + GetParam();
    std::string const whole = ReadBytes(path);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        WriteBytes(path, whole.substr(0, length));
        auto const cache = Open();
        EXPECT_EQ(FindIn(*cache, HString("key")).code, 0) << length;
        EXPECT_EQ(AddOne(*cache), 1) << length;
    }
}

}  // namespace
