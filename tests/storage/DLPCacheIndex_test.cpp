#include "storage/DLPCacheIndex.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "tests/storage/IndexFixture.h"

namespace {

class IndexOfTexts : public IndexFixture {};
class IndexOfNumbers : public IndexFixture {};
class IndexFile : public IndexFixture {};

TEST_F(IndexFile, FreshOneHasAHeadAndItsBuckets) {
    ASSERT_EQ(index_.Init(10), 0);
    EXPECT_EQ(Size(), 27 + 57 * 10);
    EXPECT_EQ(index_.GetNumber(), 10U);
    EXPECT_EQ(Bytes().substr(27), std::string(570, '\0'));
}

TEST_F(IndexFile, WithoutBucketsIsTheHeadAlone) {
    ASSERT_EQ(index_.Init(0), 0);
    EXPECT_EQ(Bytes(), FromHex("444C5054706C4361636865496E64657848656164 00 05 02 00000000"));
    ASSERT_EQ(index_.Init(-2), 0);
    EXPECT_EQ(Bytes(), FromHex("444C5054706C4361636865496E64657848656164 00 05 02 FEFFFFFF"));
    EXPECT_EQ(index_.GetNumber(), 0U);
}

TEST_F(IndexFile, InitMakesItAnew) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 1, 2), 0);
    ASSERT_EQ(index_.Init(2), 0);
    EXPECT_EQ(Size(), 27 + 57 * 2);
    EXPECT_EQ(Look(kKeyA).code, -12);  // bucket 0 of 2
    EXPECT_EQ(Look(kKeyC), Without(0));
}

TEST_F(IndexFile, TooManyBucketsDeleteWhatWasThere) {
    ASSERT_EQ(index_.Init(3), 0);
    EXPECT_EQ(index_.Init(5000001), -1);
    EXPECT_FALSE(Exists(path_));
    EXPECT_FALSE(Exists(path_ + ".tmp"));
}

TEST_F(IndexFile, LargestBucketCountIsAccepted) {
    ASSERT_EQ(index_.Init(5000000), 0);
    EXPECT_EQ(std::filesystem::file_size(path_), 27U + 57U * 5000000U);
    EXPECT_EQ(index_.GetNumber(), 5000000U);
}

TEST_F(IndexFile, IsNotMadeWithoutItsDirectory) {
    DLPCache::Index const index{HString(root_ / "none/index")};
    EXPECT_EQ(index.Init(3), -1);
    EXPECT_FALSE(Exists(root_ / "none"));
}

TEST_F(IndexFile, EmptyPathIsNoFileOfTheWorkingDirectory) {
    std::filesystem::current_path(root_.Path());
    WriteBytes(".tmp", "a stranger's");
    EXPECT_EQ(DLPCache::Index(HString()).Init(3), -1);
    EXPECT_EQ(ReadBytes(".tmp"), "a stranger's");
}

TEST_F(IndexFile, LeftoverOfAKilledInitDoesNotMatter) {
    WriteBytes(path_ + ".tmp", std::string(1000, 'x'));
    ASSERT_EQ(index_.Init(1), 0);
    EXPECT_EQ(Size(), 27 + 57);
    EXPECT_FALSE(Exists(path_ + ".tmp"));
}

TEST_F(IndexFile, DirectoryInItsPlaceStaysAndInitFails) {
    std::filesystem::create_directory(path_);
    EXPECT_EQ(index_.Init(3), -1);
    EXPECT_TRUE(std::filesystem::is_directory(path_));
    EXPECT_FALSE(Exists(path_ + ".tmp"));
}

TEST_F(IndexFile, IsReadableForItsOwnerAlone) {
    mode_t const before = ::umask(0);
    EXPECT_EQ(index_.Init(3), 0);
    ::umask(before);
    EXPECT_EQ(std::filesystem::status(path_).permissions(), std::filesystem::perms(0600));
}

TEST_F(IndexOfTexts, KeyOf31Or33CharactersIsRefused) {
    ASSERT_EQ(index_.Init(3), 0);
    for (std::string const& key : {kKeyA.substr(1), kKeyA + "0", std::string()}) {
        EXPECT_EQ(Look(key), Without(-14));
        EXPECT_EQ(index_.Add(key, 1, 2), -14);
    }
    EXPECT_EQ(Size(), 27 + 57 * 3);
}

TEST_F(IndexOfTexts, SecondKeyOfABucketIsChainedAtTheEnd) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    ASSERT_EQ(index_.Add(kKeyAbc, 20, 21), 0);
    EXPECT_EQ(Look(kKeyA), Found(10, 11));
    EXPECT_EQ(Look(kKeyAbc), Found(20, 21));
    EXPECT_EQ(Size(), 27 + 57 * 4);
    EXPECT_EQ(Bytes().substr(static_cast<std::size_t>(SlotAt(1)) + 49, 8), Number64(SlotAt(4)));
    EXPECT_EQ(Bytes().substr(static_cast<std::size_t>(SlotAt(4)), 32), kKeyAbc);
}

TEST_F(IndexOfTexts, KeyAddedTwiceKeepsTwoSlotsAndTheFirstAnswers) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    ASSERT_EQ(index_.Add(kKeyA, 20, 21), 0);
    EXPECT_EQ(Look(kKeyA), Found(10, 11));
    EXPECT_EQ(index_.GetNumber(), 4U);
}

TEST_F(IndexOfTexts, KeyAddedAgainGoesBehindItsChain) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    ASSERT_EQ(index_.Add(kKeyAbc, 20, 21), 0);
    ASSERT_EQ(index_.Add(kKeyA, 30, 31), 0);
    EXPECT_EQ(Look(kKeyA), Found(10, 11));
    EXPECT_EQ(Look(kKeyAbc), Found(20, 21));
    EXPECT_EQ(Bytes().substr(static_cast<std::size_t>(SlotAt(4)) + 49, 8), Number64(SlotAt(5)));
}

TEST_F(IndexOfTexts, KeyOfBucketZeroCanNeitherBeAddedNorFound) {
    ASSERT_EQ(index_.Init(3), 0);
    EXPECT_EQ(index_.Add(kKeyC, 1, 2), -12);
    EXPECT_EQ(Look(kKeyC), Without(-12));
    EXPECT_EQ(Size(), 27 + 57 * 3);
}

TEST_F(IndexOfTexts, LastBucketOfTheTableIsNeverAFirstSlot) {
    ASSERT_EQ(index_.Init(3), 0);
    for (int nth = 0; nth < 20; ++nth) {
        ASSERT_EQ(index_.Add(KeyInBucket(1, 3, nth), nth, 1), 0);
        ASSERT_EQ(index_.Add(KeyInBucket(2, 3, nth), nth, 1), 0);
    }
    EXPECT_EQ(Bytes().substr(static_cast<std::size_t>(SlotAt(3)), 57), std::string(57, '\0'));
}

TEST_F(IndexOfTexts, AbsentKeyOfAUsedBucketIsNotFound) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    EXPECT_EQ(Look(kKeyAbc), Without(0));
    EXPECT_EQ(Look(kKeyB), Without(0));
}

TEST_F(IndexOfTexts, BucketCountOfZeroIsOutOfReachInsteadOfADivision) {
    ASSERT_EQ(index_.Init(0), 0);
    WriteBytes(path_, Bytes() + std::string(57, '\0'));
    EXPECT_EQ(Look(kKeyA), Without(-12));
    EXPECT_EQ(index_.Add(kKeyA, 1, 2), -12);
}

TEST_F(IndexOfTexts, NegativeBucketCountIsTakenWithoutItsSign) {
    ASSERT_EQ(index_.Init(-1), 0);
    WriteBytes(path_, Bytes() + std::string(57, '\0'));
    DLPCache::IndexHead head;
    head.bucket_count = -1;  // 4294967295 buckets; the hash of "a" is 0x993F53CE
    EXPECT_EQ(index_.GetFirstKeyOffset(kKeyA, head), 27 + (0x993F53CELL - 1) * 57);
    EXPECT_EQ(Look(kKeyA), Without(-7));
    EXPECT_EQ(index_.Add(kKeyA, 1, 2), -12);
}

TEST_F(IndexOfTexts, KeyWithoutATerminatorInItsSlotIsAnotherKey) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    Patch(SlotAt(1) + 32, "xxxxx");
    EXPECT_EQ(Look(kKeyA), Without(0));
}

TEST_F(IndexOfTexts, BytesBehindTheTerminatorDoNotMatter) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    Patch(SlotAt(1) + 33, "xxxx");
    EXPECT_EQ(Look(kKeyA), Found(10, 11));
}

TEST_F(IndexOfTexts, UnusedSlotEndsAChainWhateverItPointsTo) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, 10, 11), 0);
    ASSERT_EQ(index_.Add(kKeyAbc, 20, 21), 0);
    Patch(SlotAt(1), std::string(1, '\0'));
    EXPECT_EQ(Look(kKeyAbc), Without(0));
    ASSERT_EQ(index_.Add(kKeyAbc, 30, 31), 0);
    EXPECT_EQ(Look(kKeyAbc), Found(30, 31));
    EXPECT_EQ(index_.GetNumber(), 4U);
}

TEST_F(IndexOfTexts, TakesAnyOffsetAndLength) {
    ASSERT_EQ(index_.Init(3), 0);
    ASSERT_EQ(index_.Add(kKeyA, INT64_MIN, INT32_MIN), 0);
    ASSERT_EQ(index_.Add(kKeyB, INT64_MAX, INT32_MAX), 0);
    EXPECT_EQ(Look(kKeyA), Found(INT64_MIN, INT32_MIN));
    EXPECT_EQ(Look(kKeyB), Found(INT64_MAX, INT32_MAX));
}

TEST_F(IndexOfNumbers, KeyAddedTwiceKeepsTheSecondPlace) {
    ASSERT_EQ(index_.Init(5), 0);
    ASSERT_EQ(index_.Add(3, 10, 11), 0);
    ASSERT_EQ(index_.Add(3, 20, 21), 0);
    EXPECT_EQ(Look(3), Found(20, 21));
    EXPECT_EQ(index_.GetNumber(), 5U);
}

TEST_F(IndexOfNumbers, TableGrowsByTheNextKeyOnly) {
    ASSERT_EQ(index_.Init(4), 0);
    EXPECT_EQ(Look(5), Without(0));
    EXPECT_EQ(index_.Add(6, 1, 2), -12);
    EXPECT_EQ(index_.Add(5, 10, 11), 0);
    EXPECT_EQ(Size(), 27 + 57 * 5);
    EXPECT_EQ(index_.Add(7, 1, 2), -12);
    EXPECT_EQ(index_.Add(6, 20, 21), 0);
    EXPECT_EQ(Look(5), Found(10, 11));
    EXPECT_EQ(Look(6), Found(20, 21));
}

TEST_F(IndexOfNumbers, KeyBelowOneIsRefused) {
    ASSERT_EQ(index_.Init(4), 0);
    for (int const key : {0, -1, INT32_MIN}) {
        EXPECT_EQ(Look(key), Without(-14));
        EXPECT_EQ(index_.Add(key, 1, 2), -14);
    }
}

TEST_F(IndexOfNumbers, LargestKeyIsFarBeyondTheTable) {
    ASSERT_EQ(index_.Init(4), 0);
    EXPECT_EQ(Look(INT32_MAX), Without(0));
    EXPECT_EQ(index_.Add(INT32_MAX, 1, 2), -12);
}

TEST_F(IndexOfNumbers, SlotOfAnotherKeyIsRefused) {
    ASSERT_EQ(index_.Init(4), 0);
    ASSERT_EQ(index_.Add(2, 1, 2), 0);
    Patch(SlotAt(2), "22");
    EXPECT_EQ(Look(2), Without(-12));
    Link(SlotAt(2), SlotAt(3));
    EXPECT_EQ(Look(2), Without(-7));
}

TEST_F(IndexOfNumbers, SlotIsOverwrittenWhateverItHeld) {
    ASSERT_EQ(index_.Init(4), 0);
    Patch(SlotAt(2), std::string(57, 'x'));
    ASSERT_EQ(index_.Add(2, 10, 11), 0);
    EXPECT_EQ(Look(2), Found(10, 11));
}

TEST_F(IndexOfNumbers, KeyFillingItsWidthIsReadNoFurther) {
    ASSERT_EQ(index_.Init(1), 0);
    Patch(SlotAt(1), std::string(49, '1'));
    EXPECT_EQ(Look(1), Without(-12));
}

TEST_F(IndexFile, WrongTagFormatOrBucketCountIsRefusedByEveryOperation) {
    struct Damage {
        long long offset;
        char const* bytes;
    };
    for (Damage const& damage : {Damage{0, "64"}, Damage{19, "44"}, Damage{21, "04"}, Damage{21, "FB"},
                                 Damage{22, "03"}, Damage{23, "414B4C00"}}) {  // the last: 5000001 buckets
        ASSERT_EQ(index_.Init(3), 0);
        Patch(damage.offset, FromHex(damage.bytes));
        EXPECT_EQ(Look(kKeyA), Without(-11));
        EXPECT_EQ(Look(1), Without(-11));
        EXPECT_EQ(index_.Add(kKeyA, 1, 2), -11);
        EXPECT_EQ(index_.Add(1, 1, 2), -11);
    }
}

TEST_F(IndexFile, TerminatorOfTheTagIsNotChecked) {
    ASSERT_EQ(index_.Init(3), 0);
    Patch(20, "x");
    EXPECT_EQ(Look(kKeyA), Without(0));
}

TEST_F(IndexFile, FifoInItsPlaceNeverBlocks) {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    EXPECT_EQ(Look(kKeyA), Without(-12));
    EXPECT_EQ(Look(1), Without(-12));
    EXPECT_EQ(index_.Add(kKeyA, 1, 2), -12);
    EXPECT_EQ(index_.Add(1, 1, 2), -12);
}

TEST_F(IndexFile, DirectoryInItsPlaceCountsAsMissing) {
    std::filesystem::create_directory(path_);
    EXPECT_EQ(Look(kKeyA), Without(-3));
    EXPECT_EQ(Look(1), Without(-3));
    EXPECT_EQ(index_.Add(kKeyA, 1, 2), -3);
    EXPECT_EQ(index_.Add(1, 1, 2), -3);
}

TEST_F(IndexFile, SymbolicLinkInItsPlaceIsNotFollowed) {
    DLPCache::Index const target{HString(root_ / "target")};
    ASSERT_EQ(target.Init(3), 0);
    std::filesystem::create_symlink(root_ / "target", path_);
    EXPECT_EQ(Look(kKeyA), Without(-5));
    EXPECT_EQ(index_.Add(kKeyA, 1, 2), -5);
    EXPECT_EQ(Look(1), Without(-5));
    EXPECT_EQ(index_.Add(1, 1, 2), -5);
}

TEST_F(IndexFile, FirstSlotOfAKey) {
    DLPCache::IndexHead head;
    head.bucket_count = 3;
    EXPECT_EQ(index_.GetFirstKeyOffset(1, head), 27);
    EXPECT_EQ(index_.GetFirstKeyOffset(500000, head), 27 + 499999LL * 57);
    EXPECT_EQ(index_.GetFirstKeyOffset(kKeyA, head), 27);
    EXPECT_EQ(index_.GetFirstKeyOffset(kKeyB, head), 84);
    EXPECT_EQ(index_.GetFirstKeyOffset(kKeyC, head), -30);
}

TEST_F(IndexFile, SlotKeyOfAnIntegerIsItsDecimalText) {
    DLPCache::IndexKey slot;
    std::fill(std::begin(slot.str_key), std::end(slot.str_key), 'x');
    index_.FormatIndexKey(slot, 2147483647);
    EXPECT_STREQ(slot.str_key, "2147483647");
    EXPECT_TRUE(index_.IsMatchIndexKey(slot, 2147483647));
    EXPECT_FALSE(index_.IsMatchIndexKey(slot, 214748364));
}

}  // namespace
