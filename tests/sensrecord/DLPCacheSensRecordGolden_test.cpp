// The files of a found-times store, byte by byte. They are written by hand: what these bytes mean must never change.
#include <filesystem>

#include "tests/sensrecord/SensRecordFixture.h"

namespace {

// Three counts: a realtime find of "/home/ann/plan.txt", a policy find of "/home/ann/list.txt", a second realtime find
// of the first.

// The data file: a record each, in the order in which they were found first.
constexpr char kDataHex[] =
    "10 00 00 00"              // 0: 16 bytes
    "02 00 00 00"              // found twice by realtime checks
    "00 00 00 00 00 00 00 00"  // by no policy check and no tool
    "10 00 00 00"              // 16: 16 bytes
    "00 00 00 00"              //
    "01 00 00 00"              // found once by a policy check
    "00 00 00 00";             //

// The index file: 100000 buckets and one slot more, all of them empty but these.
constexpr std::size_t kIndexSize = 27 + 100001 * 57;
struct Piece {
    std::size_t offset;
    char const* hex;
};
constexpr Piece kIndex[] = {
    {0,
     "44 4c 50 54 70 6c 43 61 63 68 65 49 6e 64 65 78 48 65 61 64 00"  // "DLPTplCacheIndexHead"
     "05 02"                                                           // format
     "a0 86 01 00"},                                                   // bucket count

    // printf %s /home/ann/list.txt | md5sum, in capitals: 88D8F4033733DD4BA4580CD33BC07268
    // printf %s 88D8F4033733DD4BA4580CD33BC07268 | md5sum: 005dd0fe512100673ed352a87a6abb2c
    // Its hash is 71475B60, so the bucket is 1900501856 mod 100000 = 1856, at 27 + 1855 * 57.
    {105762,
     "30 30 35 64 64 30 66 65 35 31 32 31 30 30 36 37 33 65 64 33 35 32 61 38 37 61 36 61 62 62 32 63"
     "00 00 00 00 00"
     "10 00 00 00 00 00 00 00 10 00 00 00"  // at 16, 16 bytes
     "00 00 00 00 00 00 00 00"},            // last of its chain

    // printf %s /home/ann/plan.txt | md5sum, in capitals: 9E1B2C82CC25AADB7D74DCA4CD3418B8
    // printf %s 9E1B2C82CC25AADB7D74DCA4CD3418B8 | md5sum: 7480113d687989807c7b928a8064df17
    // Its hash is 9858FA9D, so the bucket is 2555968157 mod 100000 = 68157, at 27 + 68156 * 57.
    {3884919,
     "37 34 38 30 31 31 33 64 36 38 37 39 38 39 38 30 37 63 37 62 39 32 38 61 38 30 36 34 64 66 31 37"
     "00 00 00 00 00"
     "00 00 00 00 00 00 00 00 10 00 00 00"  // at 0, 16 bytes
     "bb f9 56 00 00 00 00 00"},            // next slot at 5700027

    // The second count of the first file, behind the table at 27 + 100000 * 57.
    {5700027,
     "37 34 38 30 31 31 33 64 36 38 37 39 38 39 38 30 37 63 37 62 39 32 38 61 38 30 36 34 64 66 31 37"
     "00 00 00 00 00"
     "00 00 00 00 00 00 00 00 10 00 00 00"  // the same record
     "00 00 00 00 00 00 00 00"},            // last of its chain
};

std::string Index() {
    std::string bytes(kIndexSize, '\0');
    for (Piece const& piece : kIndex) {
        std::string const part = FromHex(piece.hex);
        bytes.replace(piece.offset, part.size(), part);
    }
    return bytes;
}

// Where two files differ first; their common length when they do not.
std::size_t FirstDifference(std::string const& a, std::string const& b) {
    std::size_t at = 0;
    while (at < a.size() && at < b.size() && a[at] == b[at])
        ++at;
    return at;
}

class SensRecordGoldenTest : public SensRecordFixture {};

TEST_F(SensRecordGoldenTest, FilesAreWrittenAsTheyAlwaysWere) {
    EXPECT_EQ(Count("/home/ann/plan.txt", Mgr::kRealtimeCheck), 1);
    EXPECT_EQ(Count("/home/ann/list.txt", Mgr::kPolicyCheck), 1);
    EXPECT_EQ(Count("/home/ann/plan.txt", Mgr::kRealtimeCheck), 2);
    EXPECT_THAT(Files(Dir()), testing::ElementsAre("1700000000", "cache", "index"));
    EXPECT_EQ(ReadBytes(Dir() + "1700000000"), "");
    EXPECT_EQ(ReadBytes(Dir() + "cache"), FromHex(kDataHex));
    std::string const index = ReadBytes(Dir() + "index");
    EXPECT_EQ(index.size(), kIndexSize);
    EXPECT_EQ(FirstDifference(index, Index()), kIndexSize);
}

TEST_F(SensRecordGoldenTest, FilesAreReadAsTheyAlwaysWere) {
    std::filesystem::create_directories(Dir());
    WriteBytes(Dir() + "1700000000", "");
    WriteBytes(Dir() + "cache", FromHex(kDataHex));
    WriteBytes(Dir() + "index", Index());
    EXPECT_EQ(Count("/home/ann/plan.txt", Mgr::kRealtimeCheck), 3);
    EXPECT_EQ(Count("/home/ann/plan.txt", Mgr::kPolicyCheck), 1);
    EXPECT_EQ(Count("/home/ann/list.txt", Mgr::kPolicyCheck), 2);
    EXPECT_EQ(Count("/home/ann/list.txt", Mgr::kToolCheck), 1);
    EXPECT_EQ(Count("/home/ann/note.txt", Mgr::kToolCheck), 1);
}

}  // namespace
