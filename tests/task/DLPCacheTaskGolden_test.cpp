// The files of a task's store, byte by byte. They are written by hand: what these bytes mean must never change.
#include "tests/task/StoreFixture.h"

namespace {

// The data file: two records, 68 and 90 bytes.
constexpr char kDataHex[] =
    // 0: the first
    "44 00 00 00"                                // its length
    "02 00 2f 00 61 00"                          // path "/a"
    "02 00 4d 00 31 00"                          // MD5 "M1"
    "01 00 00 00 00 00 00 00"                    // one byte long
    "02 00 00 00 00 00 00 00"                    // creation
    "03 00 00 00 00 00 00 00"                    // modification
    "ff ff ff ff ff ff ff ff"                    // finding: a second before 1970
    "01 00 76 00"                                // first extra text "v"
    "01 00 00 00 06 00 00 00 02 00 54 00 31 00"  // one template id of 6 bytes, "T1"
    "00 00"                                      // no second extra text
    // 68: the second
    "5a 00 00 00"                                            // its length
    "08 00 2f 00 62 00 2f 00 63 00 2e 00 74 00 78 00 74 00"  // path "/b/c.txt"
    "04 00 30 00 63 00 63 00 31 00"                          // MD5 "0cc1"
    "2c 01 00 00 00 00 00 00"                                // 300 bytes long
    "00 f1 53 65 00 00 00 00"                                // creation 1700000000
    "01 f1 53 65 00 00 00 00"                                // modification 1700000001
    "02 f1 53 65 00 00 00 00"                                // finding 1700000002
    "00 00"                                                  // no first extra text
    "02 00 00 00 0c 00 00 00"                                // two template ids of 12 bytes
    "02 00 54 00 31 00 02 00 54 00 32 00"                    // "T1", "T2"
    "01 00 78 00";                                           // second extra text "x"

constexpr char kIndexHex[] =
    "44 4c 50 54 70 6c 43 61 63 68 65 49 6e 64 65 78 48 65 61 64 00"  // "DLPTplCacheIndexHead"
    "05 02"                                                           // format
    "00 00 00 00"                                                     // no buckets
    // 27: "1"
    "31 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    "00 00 00 00 00 00 00 00 44 00 00 00"  // at 0, 68 bytes
    "00 00 00 00 00 00 00 00"              // no chain
    // 84: "2"
    "32 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"
    "44 00 00 00 00 00 00 00 5a 00 00 00"  // at 68, 90 bytes
    "00 00 00 00 00 00 00 00";             // no chain

class DLPCacheTaskGoldenTest : public StoreFixture {
  protected:
    DLPCacheTaskGoldenTest() {
        first_.task_id = "task-1";
        first_.file_path = "/a";
        first_.file_md5 = "M1";
        first_.file_attrs = {1, 2, 3, -1};
        first_.extra_1 = "v";
        first_.tpl_ids = {"T1"};
        second_.task_id = "task-1";
        second_.file_path = "/b/c.txt";
        second_.file_md5 = "0cc1";
        second_.file_attrs = {300, 1700000000, 1700000001, 1700000002};
        second_.tpl_ids = {"T1", "T2"};
        second_.extra_2 = "x";
    }

    SensFile first_;
    SensFile second_;
};

TEST_F(DLPCacheTaskGoldenTest, FilesAreWrittenAsTheyAlwaysWere) {
    auto const writer = OpenWriter();
    ASSERT_EQ(writer->AddNumbered(first_), 1);
    ASSERT_EQ(writer->AddNumbered(second_), 1);
    writer->WriteFirst();
    writer->WriteFirst();
    EXPECT_EQ(ReadBytes(Dir() + "cache"), FromHex(kDataHex));
    EXPECT_EQ(ReadBytes(Dir() + "index"), FromHex(kIndexHex));
}

TEST_F(DLPCacheTaskGoldenTest, FilesAreReadAsTheyAlwaysWere) {
    auto const writer = OpenWriter();
    WriteBytes(Dir() + "cache", FromHex(kDataHex));
    WriteBytes(Dir() + "index", FromHex(kIndexHex));
    SensFile found;
    EXPECT_EQ(writer->Find(1, found), 2);
    first_.sn = 1;
    first_.tpl_md5s = {CurrentMd5("T1")};
    first_.tpl_names = {"Contracts"};
    first_.data_classes = {"Secret"};
    EXPECT_EQ(found, first_);
    EXPECT_EQ(writer->Find(2, found), 2);
    second_.sn = 2;
    second_.tpl_md5s = {CurrentMd5("T1"), CurrentMd5("T2")};
    second_.tpl_names = {"Contracts", "Invoices"};
    second_.data_classes = {"Secret", "Money"};
    EXPECT_EQ(found, second_);
}

}  // namespace
