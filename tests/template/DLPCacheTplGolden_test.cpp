// The files of a template cache, byte by byte. They are written by hand: what these bytes mean must never change.
#include <filesystem>

#include "tests/template/TplFixture.h"

namespace {

// The data file: one record, 153 bytes.
constexpr char kDataHex[] =
    "99 00 00 00"                          // total size
    "00 00"                                // reserved
    "04 00 6b 00 65 00 70 00 74 00"        // stored name "kept"
    "01 00"                                // one rule
    "3e 00 00 00"                          // of 62 bytes
    "e9 03 00 00 36 00 00 00"              // sub-type 1001, body of 54 bytes
    "02 00 52 00 31 00"                    // rule id "R1"
    "03 00 00 00 00 00 00 00"              // three matches
    "03 00 74 00 77 00 6f 00"              // text 2 "two"
    "03 00 6f 00 6e 00 65 00"              // text 1 "one"
    "05 00 61 00 2e 00 74 00 78 00 74 00"  // short name "a.txt"
    "05 00 74 00 68 00 72 00 65 00 65 00"  // text 3 "three"
    "41 00 00 00"                          // text of 65 bytes
    "01"                                   // its version
    "02 00 00 00 54 00 31 00"              // template id "T1"
    "01 00 00 00"                          // one line with matches
    "07 00 00 00 02 00 00 00"              // line 7, two of them
    "01 00 00 00 04 00 00 00"              // from 1 to 4
    "09 00 00 00 0c 00 00 00"              // from 9 to 12
    "04 00 00 00 74 00 65 00 78 00 74 00"  // text "text"
    "00 00 00 00 00 00 00 00 00 00 00 00"  // no text path, second text, second text path
    "00 00 00 00";                         // no second positions

// The index file with two buckets. The keys' MD5 both have an odd hash, so that both lie in the chain of the first
// slot.
constexpr char kIndexHex[] =
    "44 4c 50 54 70 6c 43 61 63 68 65 49 6e 64 65 78 48 65 61 64 00"  // "DLPTplCacheIndexHead"
    "05 02"                                                           // format
    "02 00 00 00"                                                     // bucket count
    // 27: 73d808003f59e4aef249bd7e58258d80, printf %s matched | md5sum
    "37 33 64 38 30 38 30 30 33 66 35 39 65 34 61 65 66 32 34 39 62 64 37 65 35 38 32 35 38 64 38 30"
    "00 00 00 00 00"
    "00 00 00 00 00 00 00 00 99 00 00 00"  // at 0, 153 bytes
    "8d 00 00 00 00 00 00 00"              // next slot at 141
    // 84: unused
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    // 141: 3e47b75000b0924b6c9ba5759a7cf15d, printf %s nothing | md5sum
    "33 65 34 37 62 37 35 30 30 30 62 30 39 32 34 62 36 63 39 62 61 35 37 35 39 61 37 63 66 31 35 64"
    "00 00 00 00 00"
    "ff ff ff ff ff ff ff ff 00 00 00 00"  // no record
    "00 00 00 00 00 00 00 00";             // last of its chain

class DLPCacheTplGoldenTest : public TplFixture {
  protected:
    DLPCacheTplGoldenTest() {
        SetBucketCount("2");
        matched_.items = {MakeItem("R1", 1001)};
    }

    QVKReportKeywordAttachNode matched_;
};

TEST_F(DLPCacheTplGoldenTest, FilesAreWrittenAsTheyAlwaysWere) {
    auto const cache = Open();
    ASSERT_EQ(cache->Add(HString("matched"), matched_, MakeText("text"), "kept"), 1);
    ASSERT_EQ(cache->Add(HString("nothing"), QVKReportKeywordAttachNode(), QVKKeywordText(), "kept"), 0);
    EXPECT_EQ(ReadBytes(Dir() + "cache"), FromHex(kDataHex));
    EXPECT_EQ(ReadBytes(Dir() + "index"), FromHex(kIndexHex));
}

TEST_F(DLPCacheTplGoldenTest, FilesAreReadAsTheyAlwaysWere) {
    auto const cache = Open();
    WriteBytes(Dir() + "cache", FromHex(kDataHex));
    WriteBytes(Dir() + "index", FromHex(kIndexHex));
    Found const matched = FindIn(*cache, HString("matched"));
    EXPECT_EQ(matched.code, 2);
    EXPECT_EQ(matched.stored_name, "kept");
    EXPECT_EQ(matched.text, MakeText("text"));
    cache->FillAttachTplInfo(matched_);
    EXPECT_EQ(matched.node, matched_);
    EXPECT_EQ(FindIn(*cache, HString("nothing")).code, 1);
    EXPECT_EQ(FindIn(*cache, HString("other")).code, 0);
}

}  // namespace
