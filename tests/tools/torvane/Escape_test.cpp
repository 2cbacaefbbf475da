#include "tools/torvane/output/Escape.h"

#include <gtest/gtest.h>

namespace torvane {
namespace {

using Json = nlohmann::ordered_json;

TEST(PrintableText, KeepsWhatPrints) {
    for (char const* const text : {"", "a b~", "/C/new", "\xc3\xa4", "\xe4\xb8\xad\xe6\x96\x87", "\xf0\x9f\x98\x80"})
        EXPECT_EQ(Printable(text), text);
}

TEST(PrintableText, EscapesWhatDoesNotPrint) {
    EXPECT_EQ(Printable("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(Printable(std::string("\0\x1b[31m\x7f", 7)), "\\x00\\x1B[31m\\x7F");
    EXPECT_EQ(Printable("\xc2\x9b"), "\\u{9B}");        // CSI as one C1 character
    EXPECT_EQ(Printable("\xe2\x80\xae"), "\\u{202E}");  // right-to-left override
    EXPECT_EQ(Printable("\xe2\x80\xa8\xe2\x80\x8b"), "\\u{2028}\\u{200B}");
    EXPECT_EQ(Printable("\xef\xbb\xbf"), "\\u{FEFF}");
    EXPECT_EQ(Printable("\xf3\xa0\x80\x81"), "\\u{E0001}");
    EXPECT_EQ(Printable("\xf0\x9f\xbf\xbf"), "\\u{1FFFF}");  // no character ever
}

TEST(PrintableText, EscapesBytesThatAreNotUtf8) {
    EXPECT_EQ(Printable("a\xff"), "a\\xFF");
    EXPECT_EQ(Printable("\xc3"), "\\xC3");
    EXPECT_EQ(Printable("\xc0\x80"), "\\xC0\\x80");           // overlong
    EXPECT_EQ(Printable("\xed\xa0\x80"), "\\xED\\xA0\\x80");  // surrogate
    EXPECT_EQ(Printable("\xf4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80");
}

TEST(PrintableText, TellsAnEscapeFromWhatOnlyLooksLikeOne) {
    EXPECT_EQ(Printable("C:\\new"), "C:\\\\new");
    EXPECT_EQ(Printable("\\xFF"), "\\\\xFF");
    EXPECT_EQ(Printable("\\\xff"), "\\\\\\xFF");
    EXPECT_EQ(CsvField("\\n"), "\\\\n");
}

TEST(PrintableText, KeepsTheBackslashesOfWhatHasItsOwnEscapes) {
    EXPECT_EQ(Printable("\\xFF\xff", Backslash::kKept), "\\xFF\\xFF");
}

TEST(PrintableText, HasTheWidthOfATerminal) {
    EXPECT_EQ(WidthOf("abc"), 3U);
    EXPECT_EQ(WidthOf("\xc3\xa4"), 1U);
    EXPECT_EQ(WidthOf("a\xcc\x88"), 1U);  // a combining mark
    EXPECT_EQ(WidthOf("\xe4\xb8\xad\xe6\x96\x87"), 4U);
    EXPECT_EQ(WidthOf("\xf0\x9f\x98\x80"), 2U);
}

TEST(JsonTexts, AreJsonWhateverTheBytes) {
    EXPECT_EQ(JsonText({{"a", "x\xff"}}, -1), R"({"a":"x\\xFF"})");
    EXPECT_EQ(JsonText({{"\xfe", {"\xc3", 7}}}, -1), R"({"\\xFE":["\\xC3",7]})");
}

// What JSON's own escapes make of each is left out: these are the texts that a reader gets.
TEST(JsonTexts, TellAForeignByteFromWhatOnlyLooksLikeOne) {
    auto const read = [](std::string const& text) {
        return Json::parse(JsonText({{"a", text}}, -1))["a"].get<std::string>();
    };
    EXPECT_EQ(read("C:\\new\\x\\x7F\\xfe"), "C:\\new\\x\\x7F\\xfe");  // none that is ever made of a byte
    EXPECT_EQ(read("\xff"), "\\xFF");
    EXPECT_EQ(read("\\xFF"), "\\\\xFF");
    EXPECT_EQ(read("\\\xff"), "\\\\\\xFF");
    EXPECT_EQ(read("\\\\x80"), "\\\\\\\\x80");
    EXPECT_EQ(read("\\ and \xff"), "\\ and \\xFF");
}

TEST(JsonTexts, EscapeWhatDoesNotPrintAndLoseNothing) {
    std::string const text = "\n\x1b\x7f\xc2\x85\xe2\x80\xae\xf3\xa0\x80\x81\xc3\xa4\\";
    std::string const json = JsonText(Json(text), -1);
    EXPECT_EQ(json, "\"\\n\\u001b\\u007f\\u0085\\u202e\\udb40\\udc01\xc3\xa4\\\\\"");
    EXPECT_EQ(Json::parse(json).get<std::string>(), text);
}

TEST(JsonTexts, HaveIntegersAsTheyAre) {
    EXPECT_EQ(JsonText({{"n", 9223372036854775807LL}, {"u", 18446744073709551615ULL}}, -1),
              R"({"n":9223372036854775807,"u":18446744073709551615})");
}

TEST(JsonTexts, AreIndentedOnDemand) {
    EXPECT_EQ(JsonText({{"a", 1}}, 2), "{\n  \"a\": 1\n}");
}

TEST(CsvFields, AreQuotedWhereTheyMustBe) {
    EXPECT_EQ(CsvField("plain"), "plain");
    EXPECT_EQ(CsvField(""), "");
    EXPECT_EQ(CsvField("a,b"), "\"a,b\"");
    EXPECT_EQ(CsvField("say \"x\""), "\"say \"\"x\"\"\"");
    EXPECT_EQ(CsvField(" x"), "\" x\"");
    EXPECT_EQ(CsvField("x "), "\"x \"");
}

TEST(CsvFields, AreOneLineOfPrintingCharacters) {
    EXPECT_EQ(CsvField("a\nb\xff"), "a\\nb\\xFF");
}

}  // namespace
}  // namespace torvane
