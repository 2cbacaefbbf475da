#include "examples/scanner/Finders.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace scanner {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> Texts(std::string const& text, Matches const& matches) {
    std::vector<std::string> found;
    for (Match const& match : matches.kept())
        found.push_back(text.substr(match.begin, match.end - match.begin));
    return found;
}

std::vector<std::string> Emails(std::string const& text) {
    Matches matches;
    FindEmails(text, matches);
    return Texts(text, matches);
}

std::vector<std::string> Cards(std::string const& text) {
    Matches matches;
    FindBankCards(text, matches);
    return Texts(text, matches);
}

std::vector<std::string> Expression(std::string const& expression, std::string const& text) {
    Matches matches;
    FindExpression(re2::RE2(expression), text, matches);
    return Texts(text, matches);
}

TEST(Luhn, AcceptsNumbersWithTheRightCheckDigit) {
    EXPECT_TRUE(PassesLuhn("79927398713"));
    EXPECT_TRUE(PassesLuhn("4539578763621486"));
    EXPECT_TRUE(PassesLuhn("0"));
}

TEST(Luhn, RefusesEveryOtherCheckDigit) {
    for (char last = '0'; last <= '9'; ++last) {
        EXPECT_EQ(PassesLuhn(std::string("7992739871") + last), last == '3') << last;
    }
    EXPECT_FALSE(PassesLuhn(""));
}

TEST(Luhn, NoticesSwappedNeighbours) {
    EXPECT_FALSE(PassesLuhn("4539578763612486"));
}

TEST(BankCards, AreFoundInOneRunAndInGroups) {
    EXPECT_THAT(Cards("a 4539578763621486, b 4539 5787 6362 1486; c 4539-5787-6362-1486."),
                ElementsAre("4539578763621486", "4539 5787 6362 1486", "4539-5787-6362-1486"));
}

TEST(BankCards, MustPassTheLuhnCheck) {
    EXPECT_THAT(Cards("4539578763621487"), IsEmpty());
}

TEST(BankCards, AreNotSoughtInsideLongerRunsOfDigits) {
    EXPECT_THAT(Cards("45395787636214860000"), IsEmpty());
    EXPECT_THAT(Cards(std::string(100000, '4')), IsEmpty());
}

TEST(BankCards, HaveThirteenToNineteenDigits) {
    EXPECT_THAT(Cards("4222222222222"), ElementsAre("4222222222222"));
    EXPECT_THAT(Cards("422222222222"), IsEmpty());
}

TEST(BankCards, BeginWithTwoToSixAndAreNotOneDigitRepeated) {
    EXPECT_THAT(Cards("0000000000000000"), IsEmpty());
    EXPECT_THAT(Cards("1234567812345670"), IsEmpty());
    EXPECT_TRUE(PassesLuhn("4444444444444444444") || Cards("4444444444444444444").empty());
    EXPECT_THAT(Cards("4539  5787  6362  1486"), IsEmpty());
}

TEST(Emails, AreFoundWithinText) {
    EXPECT_THAT(Emails("Write to <ann.lee+x@mail.example.org>, or bob@example.com."),
                ElementsAre("ann.lee+x@mail.example.org", "bob@example.com"));
    EXPECT_THAT(Emails("a@b.cd"), ElementsAre("a@b.cd"));
}

TEST(Emails, NeedALocalPartAndADomainOfTwoLabels) {
    for (char const* text : {"@example.com", "ann@", "ann@localhost", "ann@example.c", "ann@example.c0m", "ann@.com",
                             "ann@-x.com", "ann@x..com", "a.@example.com", "user @example.com", "@", "@@"}) {
        EXPECT_THAT(Emails(text), IsEmpty()) << text;
    }
}

TEST(Emails, DoNotOverlap) {
    EXPECT_THAT(Emails("a@b.cd@e.fg"), ElementsAre("a@b.cd"));
}

TEST(Expressions, AreCountedWithoutOverlap) {
    EXPECT_THAT(Expression("aa", "aaaaa"), ElementsAre("aa", "aa"));
    EXPECT_THAT(Expression("(?m)^x", "x\nx\nyx"), ElementsAre("x", "x"));
}

TEST(Expressions, DoNotCountEmptyMatches) {
    EXPECT_THAT(Expression("b*", "abba"), ElementsAre("bb"));
    EXPECT_THAT(Expression("\\b", "two words"), IsEmpty());
}

TEST(Expressions, GoOnPastBytesThatAreNotUtf8) {
    EXPECT_THAT(Expression("k.y", "k\xffy key"), ElementsAre("key"));
}

TEST(MatchesOfARule, AreAllCountedButNotAllKept) {
    Matches matches;
    for (std::size_t i = 0; i < 1000; ++i)
        matches.Add(i, i + 1);
    EXPECT_EQ(matches.count(), 1000);
    EXPECT_EQ(matches.kept().size(), Matches::kMostKept);
}

}  // namespace
}  // namespace scanner
