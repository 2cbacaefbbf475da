#include "storage/DLPCacheManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>

#include "tests/storage/ManagerFixture.h"

namespace {

class StoreOfNumbers : public ManagerFixture {
  protected:
    StoreOfNumbers() { Open(10); }
};

// Of 3 buckets "a" and "abc" fall into bucket 1, "b" into bucket 2 and "c" into bucket 0.
class StoreOfTexts : public ManagerFixture {
  protected:
    StoreOfTexts() { Open(3); }
    HString const a_{"a"}, abc_{"abc"}, b_{"b"}, c_{"c"};
};

class StoreFiles : public ManagerFixture {};

TEST_F(StoreOfNumbers, GiveBackWhatWasAdded) {
    EXPECT_EQ(Put(1, "one"), 1);
    EXPECT_EQ(Put(10, std::string("t\0n", 3)), 1);
    EXPECT_EQ(Get(1), Data("one"));
    EXPECT_EQ(Get(10), Data(std::string("t\0n", 3)));
    EXPECT_EQ(Get(2), Without(0));
    EXPECT_EQ(Get(11), Without(0));
    EXPECT_EQ(DataFile(), std::string("onet\0n", 6));
}

TEST_F(StoreOfNumbers, KeyAddedWithoutDataIsPresentWithoutData) {
    EXPECT_EQ(PutNothing(4), 0);
    EXPECT_EQ(Get(4), Without(1));
    unsigned char byte = 1;
    EXPECT_EQ(store_->Add(5, &byte, 0), 0);
    EXPECT_EQ(Get(5), Without(1));
    EXPECT_EQ(PlaceOf(5), (Place{-1, 0}));
    EXPECT_FALSE(Exists(data_path_));
}

TEST_F(StoreOfNumbers, ShorterRecordIsRewrittenInPlaceAndALongerOneAppended) {
    ASSERT_EQ(Put(1, "before"), 1);
    ASSERT_EQ(Put(7, std::string(100, 'a')), 1);
    EXPECT_EQ(PlaceOf(7), (Place{6, 100}));
    ASSERT_EQ(Put(7, std::string(60, 'b')), 1);
    EXPECT_EQ(PlaceOf(7), (Place{6, 60}));
    EXPECT_EQ(Get(7), Data(std::string(60, 'b')));
    ASSERT_EQ(Put(7, std::string(120, 'c')), 1);
    EXPECT_EQ(PlaceOf(7), (Place{106, 120}));
    EXPECT_EQ(Get(7), Data(std::string(120, 'c')));
    EXPECT_EQ(DataFile(), "before" + std::string(60, 'b') + std::string(40, 'a') + std::string(120, 'c'));
}

TEST_F(StoreOfNumbers, RetiredStoreLeavesTheFilesOfItsSuccessorAlone) {
    ASSERT_EQ(Put(1, "old"), 1);
    auto const retired = std::move(store_);
    retired->Retire();
    std::filesystem::remove(index_path_);
    std::filesystem::remove(data_path_);
    unsigned char byte = 'x';
    unsigned char* buf = nullptr;
    int len = 0;
    EXPECT_EQ(retired->Find(1, buf, len), -3);
    Open(10);
    ASSERT_EQ(Put(1, "new"), 1);
    EXPECT_EQ(retired->Find(1, buf, len), -5);
    EXPECT_EQ(retired->Add(2, &byte, 1), -5);
    EXPECT_EQ(retired->Add(2, nullptr, 0), -5);
    EXPECT_EQ(retired->Update(1, &byte, 1), -5);
    EXPECT_EQ(retired->AddCache(2, -1, &byte, 1), -6);
    EXPECT_EQ(retired->ReadCacheBuffer(0, 3), nullptr);
    EXPECT_NE(retired->GetIndexNumber(), store_->GetIndexNumber());
    EXPECT_EQ(Get(1), Data("new"));
    EXPECT_EQ(Get(2), Without(0));
    EXPECT_EQ(DataFile(), "new");
}

TEST_F(StoreOfNumbers, KeyWithoutDataGetsItsDataAppended) {
    ASSERT_EQ(PutNothing(3), 0);
    ASSERT_EQ(Put(3, "x"), 1);
    EXPECT_EQ(Get(3), Data("x"));
    ASSERT_EQ(PutNothing(3), 0);
    EXPECT_EQ(Get(3), Without(1));
}

TEST_F(StoreOfNumbers, KeyBelowOneIsRefused) {
    EXPECT_EQ(Put(0, "x"), -16);
    EXPECT_EQ(Put(-3, "x"), -16);
    EXPECT_EQ(Get(0), Without(-14));
    EXPECT_EQ(Rewrite(0, "x"), -14);
    EXPECT_FALSE(Exists(data_path_));
}

TEST_F(StoreOfNumbers, KeyOutOfReachIsRefusedAndLeavesNoData) {
    EXPECT_EQ(Put(1, "one"), 1);
    EXPECT_EQ(Put(12, "x"), -12);
    EXPECT_EQ(PutNothing(12), -12);
    EXPECT_EQ(DataFile(), "one");
}

TEST_F(StoreOfNumbers, RefusedKeyLeavesADataFileAloneThatWasWrittenInPlace) {
    unsigned char two[] = {'2'};
    EXPECT_EQ(Put(1, "one"), 1);
    EXPECT_EQ(store_->AddCache(12, 2, two, 1), -12);
    EXPECT_EQ(DataFile(), "on2");
}

TEST_F(StoreOfNumbers, UpdateRewritesARecordOfTheSameLength) {
    ASSERT_EQ(Put(1, "abc"), 1);
    ASSERT_EQ(Put(2, "def"), 1);
    EXPECT_EQ(Rewrite(1, "xyz"), 0);
    EXPECT_EQ(Get(1), Data("xyz"));
    EXPECT_EQ(DataFile(), "xyzdef");
}

TEST_F(StoreOfNumbers, UpdateOfAnotherLengthChangesNothing) {
    ASSERT_EQ(Put(1, "abc"), 1);
    std::string const index = ReadBytes(index_path_);
    EXPECT_EQ(Rewrite(1, "ab"), -13);
    EXPECT_EQ(Rewrite(1, "abcd"), -13);
    EXPECT_EQ(DataFile(), "abc");
    EXPECT_EQ(ReadBytes(index_path_), index);
}

TEST_F(StoreOfNumbers, UpdateNeedsABufferAndAPresentKeyWithData) {
    ASSERT_EQ(PutNothing(1), 0);
    EXPECT_EQ(Rewrite(1, "x"), 1);
    EXPECT_EQ(Rewrite(2, "x"), 0);
    EXPECT_EQ(store_->Update(1, nullptr, 1), -13);
    EXPECT_FALSE(Exists(data_path_));
}

TEST_F(StoreOfNumbers, BufferOfTheCallerIsFreedByFind) {
    ASSERT_EQ(Put(1, "abc"), 1);
    for (int const key : {1, 2, 0}) {
        auto* buf = new unsigned char[100];  // a leak checker notices when it stays
        int len = 100;
        int const code = store_->Find(key, buf, len);
        EXPECT_EQ(buf != nullptr, code == 2);
        delete[] buf;
    }
}

TEST_F(StoreOfNumbers, RecordBeyondTheDataFileCannotBeRead) {
    ASSERT_EQ(Put(1, "abc"), 1);
    for (long long const offset : {1LL, 3LL, 1000LL, LLONG_MAX}) {
        SetPlace(1, offset, 3);
        EXPECT_EQ(Get(1), Without(-13));
    }
}

TEST_F(StoreOfNumbers, RecordOfAHostileLengthCannotBeRead) {
    ASSERT_EQ(Put(1, "abc"), 1);
    for (int const length : {-1, INT_MIN, INT_MAX, 64 * 1024 + 1, 4}) {
        SetPlace(1, 0, length);
        EXPECT_EQ(Get(1), Without(-13));
    }
}

TEST_F(StoreOfNumbers, RecordOfANegativeOffsetCannotBeRead) {
    ASSERT_EQ(Put(1, "abc"), 1);
    for (long long const offset : {-2LL, LLONG_MIN}) {
        SetPlace(1, offset, 3);
        EXPECT_EQ(Get(1), Without(-13));
        EXPECT_EQ(Rewrite(1, "xyz"), -13);
        EXPECT_EQ(DataFile(), "abc");
    }
    SetPlace(1, -1, 3);
    EXPECT_EQ(Get(1), Without(1));
}

TEST_F(StoreOfNumbers, LargeRecordBeyondTheDataFileIsRefusedBeforeItIsTaken) {
    std::filesystem::resize_file((Put(1, "abc"), data_path_), 200000);
    SetPlace(1, 0, 200000);
    EXPECT_EQ(Get(1).data.size(), 200000U);
    SetPlace(1, 1, 200000);
    EXPECT_EQ(Get(1), Without(-13));
    SetPlace(1, LLONG_MAX, 200000);
    EXPECT_EQ(Get(1), Without(-13));
}

TEST_F(StoreOfNumbers, NegativeLengthIsNotWritten) {
    unsigned char byte = 1;
    EXPECT_EQ(store_->Add(1, &byte, -1), -10);
    EXPECT_EQ(Get(1), Without(0));
}

TEST_F(StoreOfNumbers, LargeRecordsComeBack) {
    std::string data(300000, '\0');
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 7 >> 3);
    ASSERT_EQ(Put(1, "x"), 1);
    ASSERT_EQ(Put(2, data), 1);
    EXPECT_EQ(Get(2), Data(data));
}

TEST_F(StoreOfTexts, GiveBackWhatWasAdded) {
    EXPECT_EQ(Put(a_, "alpha"), 1);
    EXPECT_EQ(Put(abc_, "gamma"), 1);
    EXPECT_EQ(Put(b_, "beta"), 1);
    EXPECT_EQ(Get(a_), Data("alpha"));
    EXPECT_EQ(Get(abc_), Data("gamma"));
    EXPECT_EQ(Get(b_), Data("beta"));
}

// "alpha" under "a", 2 bytes under "abc", chained behind it.
TEST_F(StoreOfTexts, GoldenFiles) {
    std::string const index = FromHex(
        "444C5054706C4361636865496E64657848656164 00 05 02 03000000"
        "3063633137356239633066316236613833316333393965323639373732363631 0000000000"
        "0000000000000000 05000000 C600000000000000"
        "0000000000000000000000000000000000000000000000000000000000000000 0000000000"
        "0000000000000000 00000000 0000000000000000"
        "0000000000000000000000000000000000000000000000000000000000000000 0000000000"
        "0000000000000000 00000000 0000000000000000"
        "3930303135303938336364323466623064363936336637643238653137663732 0000000000"
        "0500000000000000 02000000 0000000000000000");
    std::string const data = FromHex("616C706861 00FF");
    ASSERT_EQ(Put(a_, "alpha"), 1);
    ASSERT_EQ(Put(abc_, FromHex("00FF")), 1);
    EXPECT_EQ(ReadBytes(index_path_), index);
    EXPECT_EQ(DataFile(), data);

    WriteBytes(index_path_, index);
    WriteBytes(data_path_, data);
    EXPECT_EQ(Get(a_), Data("alpha"));
    EXPECT_EQ(Get(abc_), Data(FromHex("00FF")));
}

TEST_F(StoreOfTexts, KeyIsItsLowerCaseMd5) {
    EXPECT_EQ(store_->FormatIndexValue(HString()), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(store_->FormatIndexValue(a_), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(store_->FormatIndexValue(HString("\xC3\xA9")), "66ddcd97cfdeabb2f6fb8a999b4bc76f");  // e acute in UTF-8
}

TEST_F(StoreOfTexts, SameTextInAnotherCaseIsAnotherKey) {
    ASSERT_EQ(Put(abc_, "lower"), 1);
    EXPECT_EQ(Get(HString("ABC")), Without(0));
    ASSERT_EQ(Put(HString("ABC"), "upper"), 1);
    EXPECT_EQ(Get(abc_), Data("lower"));
    EXPECT_EQ(Get(HString("ABC")), Data("upper"));
}

TEST_F(StoreOfTexts, KeyAddedWithoutDataIsPresentWithoutData) {
    EXPECT_EQ(PutNothing(a_), 0);
    EXPECT_EQ(Get(a_), Without(1));
    EXPECT_EQ(PlaceOf(store_->FormatIndexValue(a_)), (Place{-1, 0}));
}

TEST_F(StoreOfTexts, KeyOfBucketZeroIsNotStored) {
    EXPECT_EQ(Put(c_, "x"), -12);
    EXPECT_EQ(PutNothing(c_), -12);
    EXPECT_EQ(Get(c_), Without(-12));
    EXPECT_FALSE(Exists(data_path_));
}

TEST_F(StoreOfTexts, PresentKeyWithAShorterRecordIsReadBackWithTheOldLength) {
    ASSERT_EQ(Put(a_, "alpha"), 1);
    ASSERT_EQ(Put(a_, "AL"), 1);
    EXPECT_EQ(Get(a_), Data("ALpha"));
    EXPECT_EQ(store_->GetIndexNumber(), 4);  // a further slot
}

TEST_F(StoreOfTexts, PresentKeyWithALongerRecordKeepsTheOldOne) {
    ASSERT_EQ(Put(a_, "alpha"), 1);
    ASSERT_EQ(Put(a_, "longer than before"), 1);
    EXPECT_EQ(Get(a_), Data("alpha"));
    EXPECT_EQ(DataFile(), "alphalonger than before");
}

TEST_F(StoreOfTexts, PresentKeyWithoutDataStaysWithoutData) {
    ASSERT_EQ(PutNothing(a_), 0);
    ASSERT_EQ(Put(a_, "alpha"), 1);
    EXPECT_EQ(Get(a_), Without(1));
    EXPECT_EQ(store_->GetIndexNumber(), 4);
}

TEST_F(StoreFiles, AreMadeWhenNeeded) {
    Open(4);
    EXPECT_EQ(store_->GetIndexNumber(), 4);
    EXPECT_EQ(std::filesystem::file_size(index_path_), 27U + 57U * 4U);
    EXPECT_FALSE(Exists(data_path_));
    ASSERT_EQ(Put(1, "x"), 1);
    EXPECT_EQ(std::filesystem::status(data_path_).permissions(), std::filesystem::perms(0600));
}

TEST_F(StoreFiles, AreLeftAsTheyAre) {
    Open(4);
    ASSERT_EQ(Put(1, "x"), 1);
    EXPECT_EQ(store_->Init(7, HString(index_path_), HString(data_path_)), 1);
    EXPECT_EQ(store_->GetIndexNumber(), 4);
    EXPECT_EQ(Get(1), Data("x"));
}

TEST_F(StoreFiles, InitSaysWhatItDid) {
    Open(4);
    EXPECT_EQ(store_->Init(4, HString(root_ / "index2"), HString(data_path_)), 0);
    EXPECT_EQ(store_->Init(4, HString(root_ / "index2"), HString(data_path_)), 1);
    EXPECT_EQ(store_->Init(4, HString(root_ / "none/index"), HString(data_path_)), -1);
    EXPECT_EQ(Get(1), Without(-3));
}

TEST_F(StoreFiles, IndexThatIsNoneIsLeftAsItIsAndRefused) {
    WriteBytes(index_path_, std::string(100, 'x'));
    Open(4);
    EXPECT_EQ(Put(1, "x"), -11);
    EXPECT_EQ(Get(HString("a")), Without(-11));
    EXPECT_EQ(ReadBytes(index_path_), std::string(100, 'x'));
}

TEST_F(StoreFiles, DirectoryOfTheDataFileIsNotMade) {
    data_path_ = root_ / "none/data";
    Open(4);
    EXPECT_EQ(Put(1, "x"), -6);
    EXPECT_EQ(Get(1), Without(0));
    EXPECT_FALSE(Exists(root_ / "none"));
}

TEST_F(StoreFiles, FifoInTheDataFilesPlaceNeverBlocks) {
    Open(4);
    ASSERT_EQ(Put(1, "x"), 1);
    std::filesystem::remove(data_path_);
    ASSERT_EQ(::mkfifo(data_path_.c_str(), 0600), 0);
    EXPECT_EQ(Get(1), Without(-13));
    EXPECT_EQ(Put(2, "y"), -6);
    EXPECT_EQ(Get(2), Without(0));
}

TEST_F(StoreFiles, DirectoryInTheDataFilesPlaceIsRefused) {
    Open(4);
    ASSERT_EQ(Put(1, "x"), 1);
    std::filesystem::remove(data_path_);
    std::filesystem::create_directory(data_path_);
    EXPECT_EQ(Get(1), Without(-13));
    EXPECT_EQ(Put(2, "y"), -6);
}

TEST_F(StoreFiles, SymbolicLinkInTheDataFilesPlaceIsNotFollowed) {
    Open(4);
    ASSERT_EQ(Put(1, "x"), 1);
    std::filesystem::rename(data_path_, root_ / "target");
    std::filesystem::create_symlink(root_ / "target", data_path_);
    EXPECT_EQ(Get(1), Without(-13));
    EXPECT_EQ(Put(2, "y"), -6);
    EXPECT_EQ(ReadBytes(root_ / "target"), "x");
}

TEST_F(StoreFiles, MissingIndexIsToldByEveryOperation) {
    Open(4);
    std::filesystem::remove(index_path_);
    EXPECT_EQ(Put(1, "x"), -3);
    EXPECT_EQ(PutNothing(HString("a")), -3);
    EXPECT_EQ(Get(1), Without(-3));
    EXPECT_EQ(Rewrite(1, "x"), -3);
    EXPECT_FALSE(Exists(index_path_));
}

TEST_F(StoreFiles, BytesAreWrittenWhereTheyBelong) {
    Open(4);
    unsigned char bytes[] = {'a', 'b', 'c'};
    long long offset = -1;
    EXPECT_EQ(store_->WriteCacheBuffer(offset, bytes, 3), 0);
    EXPECT_EQ(offset, 0);
    offset = -9;
    EXPECT_EQ(store_->WriteCacheBuffer(offset, bytes, 2), 0);
    EXPECT_EQ(offset, 3);
    offset = 1;
    EXPECT_EQ(store_->WriteCacheBuffer(offset, bytes, 1), 0);
    EXPECT_EQ(offset, 1);
    EXPECT_EQ(DataFile(), "aacab");
    std::unique_ptr<unsigned char[]> const read(store_->ReadCacheBuffer(1, 3));
    EXPECT_EQ(std::string(read.get(), read.get() + 3), "aca");
    EXPECT_EQ(store_->ReadCacheBuffer(3, 3), nullptr);
}

TEST_F(StoreFiles, AddCacheIndexesWhatItWrote) {
    Open(3);
    unsigned char bytes[] = {'a', 'b', 'c'};
    EXPECT_EQ(store_->AddCache(1, -1, bytes, 3), 1);
    EXPECT_EQ(store_->AddCache(store_->FormatIndexValue(HString("b")), 1, bytes, 1), 1);
    EXPECT_EQ(DataFile(), "aac");
    EXPECT_EQ(Get(1), Data("aac"));
    EXPECT_EQ(Get(HString("b")), Data("a"));
    EXPECT_EQ(store_->AddCache(9, -1, bytes, 3), -12);
}

}  // namespace
