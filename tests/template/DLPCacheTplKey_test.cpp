#include <gtest/gtest.h>

#include "template/DLPCacheTpl.h"

namespace {

DLPCacheTpl::Key Key(char const* short_name, char const* md5, long long number_1 = 0, long long number_2 = 0) {
    DLPCacheTpl::Key key;
    key.short_name = short_name;
    key.md5 = md5;
    key.number_1 = number_1;
    key.number_2 = number_2;
    return key;
}

TEST(DLPCacheTplKey, IsEmptyWhenMade) {
    DLPCacheTpl::Key const key;
    EXPECT_EQ(key.short_name, HString());
    EXPECT_EQ(key.md5, HString());
    EXPECT_EQ(key.number_1, 0);
    EXPECT_EQ(key.number_2, 0);
}

TEST(DLPCacheTplKey, TextHasAllFourPartsInLowerCase) {
    EXPECT_EQ(Key("Doc.TXT", "ABC").to_str(), "doc.txt:abc:0:0");
    EXPECT_EQ(Key("", "").to_str(), "::0:0");
    EXPECT_EQ(Key("A", "B", -5, 9223372036854775807).to_str(), "a:b:-5:9223372036854775807");
}

TEST(DLPCacheTplKey, HashOfNameAndMd5KeepsTheCaseOfTheMd5) {
    // printf %s ABC:doc.txt | md5sum
    EXPECT_EQ(Key("Doc.TXT", "ABC").to_hash(), "559687c0e176d63a279bb2951c64f2d5");
    EXPECT_EQ(Key("doc.txt", "ABC").to_hash(), "559687c0e176d63a279bb2951c64f2d5");
    // printf %s abc:doc.txt | md5sum
    EXPECT_EQ(Key("Doc.TXT", "abc").to_hash(), "c68f7af9d322d2fbc46733d1e688f674");
}

TEST(DLPCacheTplKey, Md5AloneIsNotHashedButLowered) {
    EXPECT_EQ(Key("", "ABC").to_hash(), "abc");
    EXPECT_EQ(Key("", "").to_hash(), "");
}

TEST(DLPCacheTplKey, HashLeavesOutWhatIsEmptyOrZero) {
    // printf %s ABC:5 | md5sum, and so on
    EXPECT_EQ(Key("", "ABC", 5, 0).to_hash(), "64c2730e4441fce5b26bf1d9c2d43b92");
    EXPECT_EQ(Key("", "ABC", 0, 5).to_hash(), "64c2730e4441fce5b26bf1d9c2d43b92");
    EXPECT_EQ(Key("", "ABC", -1, 5).to_hash(), "6a33eda6e0c6e6537381135c25a0db7b");
    EXPECT_EQ(Key("N", "ABC", 1, 2).to_hash(), "59d7d63119d47b1b2036c5bdac945ea3");
}

}  // namespace
