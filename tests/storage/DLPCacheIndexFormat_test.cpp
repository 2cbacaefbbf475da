#include <gtest/gtest.h>

#include "tests/storage/IndexFixture.h"

namespace {

using DLPCache::IndexHead;
using DLPCache::IndexKey;

// 3 buckets; "a" (5 bytes at 0), "abc" (300 bytes at 5) chained behind it, "b" (1 byte at 305).
char const kGolden[] =
    "444C5054706C4361636865496E64657848656164 00 05 02 03000000"  // DLPTplCacheIndexHead
    "3063633137356239633066316236613833316333393965323639373732363631 0000000000"
    "0000000000000000 05000000 C600000000000000"  // slot 1, next at 198
    "3932656235666665653661653266656333616437316337373735333135373866 0000000000"
    "3101000000000000 01000000 0000000000000000"  // slot 2
    "0000000000000000000000000000000000000000000000000000000000000000 0000000000"
    "0000000000000000 00000000 0000000000000000"  // slot 3, unused
    "3930303135303938336364323466623064363936336637643238653137663732 0000000000"
    "0500000000000000 2C010000 0000000000000000";  // slot 4, chained

class IndexGoldenFile : public IndexFixture {};

TEST_F(IndexGoldenFile, IsWhatAddingMakes) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 0, 5), 0);
    ASSERT_EQ(index_.Add(kKeyAbc, 5, 300), 0);
    ASSERT_EQ(index_.Add(kKeyB, 305, 1), 0);
    EXPECT_EQ(Bytes(), FromHex(kGolden));
}

TEST_F(IndexGoldenFile, IsRead) {
    WriteBytes(path_, FromHex(kGolden));
    EXPECT_EQ(Look(kKeyA), Found(0, 5));
    EXPECT_EQ(Look(kKeyAbc), Found(5, 300));
    EXPECT_EQ(Look(kKeyB), Found(305, 1));
    EXPECT_EQ(index_.GetNumber(), 4U);
}

TEST_F(IndexGoldenFile, OfIntegerKeysHoldsDecimalTexts) {
    ASSERT_EQ(index_.Init(0), 0);
    ASSERT_EQ(index_.Add(1, 0x0102030405060708, 0x11121314), 0);
    ASSERT_EQ(index_.Add(2, -1, 0), 0);
    EXPECT_EQ(Bytes(), FromHex("444C5054706C4361636865496E64657848656164 00 05 02 00000000"
                               "31000000000000000000000000000000000000000000000000000000000000000000000000"
                               "0807060504030201 14131211 0000000000000000"
                               "32000000000000000000000000000000000000000000000000000000000000000000000000"
                               "FFFFFFFFFFFFFFFF 00000000 0000000000000000"));
}

TEST(IndexFormat, HeadKeepsEveryFieldOnTheWayThroughBytes) {
    std::uint8_t bytes[IndexHead::kSize];
    for (std::size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<std::uint8_t>(0x80 + i);
    IndexHead const head = DLPCache::DecodeIndexHead(bytes);
    EXPECT_EQ(head.format_1, static_cast<signed char>(0x95));
    EXPECT_EQ(head.format_2, static_cast<signed char>(0x96));
    EXPECT_EQ(head.bucket_count, static_cast<int>(0x9A999897U));
    std::uint8_t again[IndexHead::kSize];
    DLPCache::EncodeIndexHead(head, again);
    EXPECT_TRUE(std::equal(bytes, bytes + sizeof bytes, again));
}

TEST(IndexFormat, SlotKeepsEveryFieldOnTheWayThroughBytes) {
    std::uint8_t bytes[IndexKey::kSize];
    for (std::size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<std::uint8_t>(0xA0 + i);
    IndexKey const slot = DLPCache::DecodeIndexKey(bytes);
    EXPECT_EQ(slot.offset, static_cast<long long>(0xCCCBCAC9C8C7C6C5U));
    EXPECT_EQ(slot.length, static_cast<int>(0xD0CFCECDU));
    EXPECT_EQ(slot.next, static_cast<long long>(0xD8D7D6D5D4D3D2D1U));
    std::uint8_t again[IndexKey::kSize];
    DLPCache::EncodeIndexKey(slot, again);
    EXPECT_TRUE(std::equal(bytes, bytes + sizeof bytes, again));
}

}  // namespace
