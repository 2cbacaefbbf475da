#include "host/base/HString.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/OnAllThreads.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::u16string Units(HString const& text) {
    return std::u16string(text.view());
}

TEST(HString, NullTextsAreEmpty) {
    EXPECT_TRUE(HString(static_cast<char const*>(nullptr)).empty());
    EXPECT_TRUE(HString(static_cast<wchar_t const*>(nullptr)).empty());
    EXPECT_TRUE(HString(static_cast<char16_t const*>(nullptr)).empty());
}

TEST(HString, CountsUnitsNotCharactersOrBytes) {
    EXPECT_EQ(HString("abc").length(), 3);
    EXPECT_EQ(HString("\xC3\xA9").length(), 1);
    EXPECT_EQ(HString("\xF0\x9F\x98\x80").length(), 2);
}

TEST(HString, WideCharacterAboveFfffBecomesAPair) {
    EXPECT_EQ(Units(HString(L"a\U0001F600")), u"a\xD83D\xDE00");
    EXPECT_EQ(Units(HString(L"\u00e9\uFFFF")), u"\u00e9\uFFFF");
}

TEST(HString, TextFromUnitsEndsAtTheFirstZero) {
    char16_t const units[] = {u'a', u'b', 0, u'c', 0};
    EXPECT_EQ(HString(units), HString("ab"));
}

TEST(HString, NumbersAreDecimal) {
    EXPECT_EQ(HString(-2147483647 - 1).get_str(), "-2147483648");
    EXPECT_EQ(HString(4294967295U).get_str(), "4294967295");
    EXPECT_EQ(HString(-9223372036854775807LL - 1).get_str(), "-9223372036854775808");
    EXPECT_EQ(HString(18446744073709551615ULL).get_str(), "18446744073709551615");
    EXPECT_EQ((HString("n") << -5 << "," << 6000000000LL << HString("!")).get_str(), "n-5,6000000000!");
}

TEST(HString, APlusStandsBeforeANumberAboveZeroOnly) {
    EXPECT_EQ(HString(7LL, true).get_str(), "+7");
    EXPECT_EQ(HString(7LL, false).get_str(), "7");
    EXPECT_EQ(HString(0LL, true).get_str(), "0");
    EXPECT_EQ(HString(-7LL, true).get_str(), "-7");
    EXPECT_EQ(HString(9223372036854775807LL, true).get_str(), "+9223372036854775807");
    EXPECT_EQ(HString(-9223372036854775807LL - 1, false).get_str(), "-9223372036854775808");
}

TEST(HString, ATruthIsOneDigit) {
    EXPECT_EQ(HString(true).get_str(), "1");
    EXPECT_EQ(HString(false).get_str(), "0");
}

TEST(HString, EveryByteStringSurvivesTheRoundTrip) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 20000; ++round) {
        std::string bytes(random() % 40, '\0');
        // Half of the bytes from the range where sequences begin and go on, so that valid and broken ones mix.
        for (char& byte : bytes)
            byte = static_cast<char>(random() % 2 == 0 ? random() : 0x80 + random() % 0x80);
        ASSERT_EQ(HString(bytes).get_str(), bytes) << "round " << round;
    }
}

TEST(HString, EveryCodePointSurvivesTheRoundTrip) {
    for (char32_t code = 1; code <= 0x10FFFF; ++code) {
        if (code >= 0xD800 && code <= 0xDFFF) continue;
        wchar_t const wide[] = {static_cast<wchar_t>(code), 0};
        HString const text(wide);
        ASSERT_EQ(HString(text.get_str()), text) << std::hex << static_cast<unsigned>(code);
    }
}

// Every way to change a text, each tried on one that another text shares its units with.
TEST(HString, ChangingACopyLeavesTheOther) {
    std::pair<char const*, void (*)(HString&)> const changes[] = {
        {"append a text", [](HString& text) { text << HString("x"); }},
        {"append narrow text", [](HString& text) { text << "x"; }},
        {"append a number", [](HString& text) { text << 7; }},
        {"append itself", [](HString& text) { text << text; }},
        {"clear", [](HString& text) { text.clear(); }},
        {"prepare", [](HString& text) { text.prepare(1)[0] = u'y'; }},
        {"cut to", [](HString& text) { text.cut_to(2); }},
        {"cut first", [](HString& text) { text.cut_first(1); }},
        {"trim", [](HString& text) { text.trim_both("/A"); }},
        {"lower case", [](HString& text) { text.to_lower_case(); }},
        {"with separator", [](HString& text) { text.dir_fit(true); }},
        {"without separator", [](HString& text) { text.dir_fit(false); }},
        {"assign", [](HString& text) { text = HString("z"); }},
    };
    for (auto const& [name, change] : changes) {
        HString const original("/ABC//");
        HString copy = original;
        change(copy);
        EXPECT_EQ(original.get_str(), "/ABC//") << name;
        EXPECT_NE(copy, original) << name;
    }
}

TEST(HString, AppendsItselfAndParts) {
    HString text("ab");
    text << text;
    text << text;
    EXPECT_EQ(text.get_str(), "abababab");
    HString& same = text;
    text = same;
    EXPECT_EQ(text.get_str(), "abababab");
    text = HString(text.view().substr(6));
    EXPECT_EQ(text.get_str(), "ab");
}

TEST(HString, CutToKeepsTheFirstUnits) {
    HString text("abc");
    text.cut_to(4);
    EXPECT_EQ(text.get_str(), "abc");
    text.cut_to(2);
    EXPECT_EQ(text.get_str(), "ab");
    EXPECT_EQ((text << "d").get_str(), "abd");
    text.cut_to(0);
    EXPECT_TRUE(text.empty());
    text.cut_to(0);
    EXPECT_EQ((text << "e").get_str(), "e");
}

TEST(HString, PrepareGivesRoomForUnits) {
    HString text("before");
    char16_t* const units = text.prepare(2);
    units[0] = u'h';
    units[1] = u'i';
    EXPECT_EQ(text.get_str(), "hi");
    EXPECT_EQ(text.prepare(0), nullptr);
    EXPECT_TRUE(text.empty());
}

// For the thread sanitizer: copies of one text come, change and go in many threads.
TEST(HString, CopiesBelongToTheirThreads) {
    HString const shared("shared");
    OnAllThreads(4, [&shared](int thread) {
        for (int i = 0; i < 1000; ++i) {
            HString copy = shared;
            HString second = copy;
            copy << thread;
            ASSERT_EQ(second, shared);
            ASSERT_EQ(copy.length(), shared.length() + 1);
        }
    });
    EXPECT_EQ(shared.get_str(), "shared");
}

TEST(HString, OrderIsByUnitsAndAPrefixComesFirst) {
    EXPECT_LT(HString("a"), HString("ab"));
    EXPECT_LT(HString("Z"), HString("a"));
    EXPECT_LT(HString("\xF0\x9F\x98\x80"), HString("\xEF\xBF\xBF"));  // D83D before FFFF
    EXPECT_EQ(HString("ab"), HString("ab"));
    EXPECT_NE(HString("ab"), HString("ac"));
    EXPECT_NE(HString("ab"), HString("abc"));
}

TEST(HString, CopyNarrowNeedsRoomForTheTerminator) {
    char buffer[4] = {'x', 'x', 'x', 'x'};
    EXPECT_TRUE(HString("abc").copy_narrow(buffer, 4));
    EXPECT_STREQ(buffer, "abc");
    EXPECT_FALSE(HString("abc").copy_narrow(buffer, 3));
    EXPECT_FALSE(HString("").copy_narrow(buffer, 0));
    EXPECT_FALSE(HString("ab\xC3\xA9").copy_narrow(buffer, 4));
}

TEST(HString, CopyNarrowAgreesWithGetStrAtEveryLength) {
    for (std::size_t length = 0; length < 70; ++length) {
        for (std::size_t odd = 0; odd <= length; ++odd) {
            HString const text(std::string(odd, 'a') + "\xE4\xB8\xAD" + std::string(length - odd, 'b'));
            char buffer[100];
            ASSERT_TRUE(text.copy_narrow(buffer, sizeof buffer));
            ASSERT_EQ(std::string(buffer), text.get_str());
        }
    }
}

TEST(HString, Md5IsOfTheUtf8Bytes) {
    EXPECT_EQ(HString("abc").get_md5_std_format("").get_str(), "900150983CD24FB0D6963F7D28E17F72");
    EXPECT_EQ(HString("abc").get_md5_std_format_lower("").get_str(), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(HString("\xE4\xB8\xAD\xE6\x96\x87").get_md5_std_format_lower("").get_str(),
              "a7bac2239fcdcb3a067903d8077c4a07");
}

TEST(HString, Md5OfALongTextSeesPairsWhole) {
    // 255 letters, then pairs: one would be cut by any piece of a power of two units.
    std::string bytes(255, 'a');
    for (int i = 0; i < 300; ++i)
        bytes += "\xF0\x9F\x98\x80";
    EXPECT_EQ(HString(bytes).get_md5_std_format_lower("").get_str(), "c76c6f695a36db3e5c520cf2c28afb6f");
}

TEST(HString, LowerCaseTouchesAsciiLettersOnly) {
    HString text("AZaz09[@\xC3\x89");
    EXPECT_EQ(text.to_lower_case().get_str(), "azaz09[@\xC3\x89");
}

TEST(HString, DirFitGivesExactlyOneSeparatorOrNone) {
    EXPECT_EQ(HString("/a/b").dir_fit(true), HString("/a/b/"));
    EXPECT_EQ(HString("/a/b///").dir_fit(true), HString("/a/b/"));
    EXPECT_EQ(HString("/a/b///").dir_fit(false), HString("/a/b"));
    EXPECT_EQ(HString("/").dir_fit(false), HString("/"));
    EXPECT_EQ(HString("//").dir_fit(true), HString("/"));
    EXPECT_EQ(HString("").dir_fit(true), HString(""));
}

TEST(HString, ShortNameFollowsTheLastSeparator) {
    EXPECT_EQ(HString("/a/b.txt").get_short_name(), HString("b.txt"));
    EXPECT_EQ(HString("b.txt").get_short_name(), HString("b.txt"));
    EXPECT_EQ(HString("/a/").get_short_name(), HString(""));
}

TEST(HString, WholeComponentsAreCompared) {
    EXPECT_TRUE(HString("/x/cache").is_begin_by("/x/cache", true));
    EXPECT_TRUE(HString("/x/cache/a").is_begin_by("/x/cache/", true));
    EXPECT_TRUE(HString("/x/cache").is_begin_by("/x/cache/", true));
    EXPECT_TRUE(HString("/x").is_begin_by("/", true));
    EXPECT_FALSE(HString("/x/cache2").is_begin_by("/x/cache", true));
    EXPECT_FALSE(HString("/x").is_begin_by("/x/cache", true));
    EXPECT_FALSE(HString("/x").is_begin_by("", true));
    EXPECT_TRUE(HString("/x/cache2").is_begin_by("/x/cache", false));
}

TEST(HString, FindAndCutFirst) {
    EXPECT_EQ(HString("abca").find(u'a'), 0);
    EXPECT_EQ(HString("abca").find(u'c'), 2);
    EXPECT_EQ(HString("abca").find(u'x'), -1);
    EXPECT_EQ(HString("abc").cut_first(2), HString("c"));
    EXPECT_EQ(HString("abc").cut_first(9), HString(""));
    EXPECT_EQ(HString("abc").cut_first(-1), HString("abc"));
}

TEST(HString, TrimBothCutsBothEndsOnly) {
    EXPECT_EQ(HString(" \t a b\r\n").trim_both(" \t\r\n"), HString("a b"));
    EXPECT_EQ(HString(" \t ").trim_both(" \t\r\n"), HString(""));
    EXPECT_EQ(HString("").trim_both(" "), HString(""));
    EXPECT_EQ(HString(" a ").trim_both(""), HString(" a "));
}

TEST(HString, SplitGivesOnePartMoreThanSeparators) {
    auto const split = [](char const* text, char const* separator) {
        std::vector<HString> parts;
        HString(text).get_vt_str_by_sep(parts, separator);
        return parts;
    };
    EXPECT_THAT(split("2;0;;1;", ";"), ElementsAre(HString("2"), HString("0"), HString(""), HString("1"), HString("")));
    EXPECT_THAT(split("a--b", "--"), ElementsAre(HString("a"), HString("b")));
    EXPECT_THAT(split("a", ";"), ElementsAre(HString("a")));
    EXPECT_THAT(split("a", ""), ElementsAre(HString("a")));
    EXPECT_THAT(split("", ";"), IsEmpty());
}

TEST(HString, SplitAppends) {
    std::vector<HString> parts{"first"};
    HString("a;b").get_vt_str_by_sep(parts, ";");
    EXPECT_THAT(parts, ElementsAre(HString("first"), HString("a"), HString("b")));
}

TEST(HString, JoinsASetInOrder) {
    EXPECT_EQ(HString::make_by_set_s({"b", "a", "c"}, ", "), HString("a, b, c"));
    EXPECT_EQ(HString::make_by_set_s({"a"}, ", "), HString("a"));
    EXPECT_EQ(HString::make_by_set_s({}, ", "), HString(""));
}

}  // namespace
