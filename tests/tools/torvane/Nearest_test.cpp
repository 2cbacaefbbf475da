#include "tools/torvane/cli/Nearest.h"

#include <gtest/gtest.h>

namespace torvane {
namespace {

TEST(NearestWords, AreAsFarAsTheLettersThatDiffer) {
    EXPECT_EQ(DistanceOf("", ""), 0U);
    EXPECT_EQ(DistanceOf("abc", ""), 3U);
    EXPECT_EQ(DistanceOf("stat", "stat"), 0U);
    EXPECT_EQ(DistanceOf("stta", "stat"), 1U);
    EXPECT_EQ(DistanceOf("sat", "stat"), 1U);
    EXPECT_EQ(DistanceOf("stwt", "stat"), 1U);
    EXPECT_EQ(DistanceOf("kitten", "sitting"), 3U);
}

TEST(NearestWords, AreTheLeastDistantTheFirstOfEquals) {
    EXPECT_EQ(NearestTo("verfy", {"stat", "verify", "verity"}), "verify");
    EXPECT_EQ(NearestTo("x", {"a", "b"}), "a");
    EXPECT_EQ(NearestTo("x", {}), "");
}

TEST(NearestWords, ArePreferablyThoseThatWereBegun) {
    EXPECT_EQ(NearestTo("comp", {"show", "completion"}), "completion");
}

}  // namespace
}  // namespace torvane
