// Names of texts near the length of the longest file name, which is 255 bytes; ".arc" takes four of them.
#include "tests/text/TextFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using TextNameTest = TextFixture;

TEST_F(TextNameTest, NameThatFitsWithItsEndingIsStored) {
    for (std::size_t const length : {244U, 245U, 251U}) {
        SCOPED_TRACE(length);
        std::string const name(length, 'n');
        EXPECT_EQ(cache_.Add(HString(name), MakeText("alpha")), 1);
        EXPECT_EQ(Find(name), (Found{2, MakeText("alpha")}));
    }
}

TEST_F(TextNameTest, NamesOfSeveralBytesPerCharacterFitAsFar) {
    std::string name;
    while (name.size() < 249)
        name += "\u20ac";
    EXPECT_EQ(cache_.Add(HString(name), MakeText("alpha")), 1);
    EXPECT_THAT(Files(Dir()), ElementsAre(name + ".arc"));
}

TEST_F(TextNameTest, NameThatDoesNotFitIsThatOfAMissingText) {
    LogLines log;
    for (std::size_t const length : {252U, 255U, 256U, 300U, 5000U}) {
        SCOPED_TRACE(length);
        std::string const name(length, 'n');
        EXPECT_EQ(Find(name), (Found{-4, MakeText("before")}));
        EXPECT_EQ(cache_.Add(HString(name), MakeText("alpha")), 1);
        EXPECT_EQ(Find(name), (Found{-4, MakeText("before")}));
    }
    EXPECT_THAT(Files(Dir()), IsEmpty());
    EXPECT_THAT(log.Take(), IsEmpty());
}

}  // namespace
