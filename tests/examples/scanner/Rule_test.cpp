#include "examples/scanner/Rule.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "examples/scanner/TemplateFile.h"

namespace scanner {
namespace {

using testing::HasSubstr;

QVKConfigKeywordFormatItemNode Definition(SubType sub_type, char const* text, int min_count = 1) {
    QVKConfigKeywordFormatItemNode node;
    node.common->id = "r";
    node.sub_type = sub_type;
    node.rule_type = sub_type < kFileName ? kContent : kFileAttribute;
    node.rule_text = text;
    node.min_count = min_count;
    return node;
}

FileView TextFile(std::string_view text) {
    return {.short_name = "a.txt", .content = text, .text = text};
}

bool Matches(Rule const& rule, FileView const& file) {
    Finding finding;
    return rule.Apply(file, finding);
}

std::string MistakeIn(SubType sub_type, char const* text) {
    try {
        Rule const rule(Definition(sub_type, text));
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "";
}

TEST(KeywordRules, CountWithoutRegardToCase) {
    Rule const rule(Definition(kKeyword, "Secret Plan"));
    Finding finding;
    EXPECT_TRUE(rule.Apply(TextFile("secret plan, SECRET PLAN and secretplan"), finding));
    EXPECT_EQ(finding.number, 2);
}

TEST(KeywordRules, TakeTheirTextLiterally) {
    Rule const rule(Definition(kKeyword, "a.c*"));
    EXPECT_TRUE(Matches(rule, TextFile("x a.c* y")));
    EXPECT_FALSE(Matches(rule, TextFile("abc")));
}

TEST(ContentRules, MatchFromTheirLeastCountOn) {
    Rule const rule(Definition(kEmail, "", 2));
    EXPECT_FALSE(Matches(rule, TextFile("a@b.cd")));
    EXPECT_TRUE(Matches(rule, TextFile("a@b.cd e@f.gh")));
}

TEST(ContentRules, DoNotLookAtContentThatIsNoText) {
    Rule const rule(Definition(kKeyword, "secret"));
    EXPECT_FALSE(Matches(rule, {.short_name = "a", .content = "secret", .text = ""}));
}

TEST(FileNameRules, TakeWildcardsAndIgnoreCase) {
    Rule const rule(Definition(kFileName, "*.PEM;id_rsa*"));
    EXPECT_TRUE(Matches(rule, {.short_name = "server.pem", .content = "", .text = ""}));
    EXPECT_TRUE(Matches(rule, {.short_name = "ID_RSA.old", .content = "", .text = ""}));
    EXPECT_FALSE(Matches(rule, {.short_name = "server.pem.txt", .content = "", .text = ""}));
}

TEST(FileTypeRules, TellTheType) {
    Rule const rule(Definition(kFileType, "zip;pdf"));
    Finding finding;
    EXPECT_TRUE(rule.Apply({.short_name = "x.doc", .content = "%PDF-1.7", .text = ""}, finding));
    EXPECT_EQ(finding.value, "pdf");
    EXPECT_FALSE(Matches(rule, TextFile("plain")));
}

TEST(FileSizeRules, CountBegunKilobytes) {
    Rule const rule(Definition(kFileSize, "2-3"));
    Finding finding;
    EXPECT_FALSE(Matches(rule, TextFile(std::string(1024, 'x'))));
    EXPECT_TRUE(rule.Apply(TextFile(std::string(1025, 'x')), finding));
    EXPECT_EQ(finding.number, 2);
    EXPECT_TRUE(Matches(rule, TextFile(std::string(3072, 'x'))));
    EXPECT_FALSE(Matches(rule, TextFile(std::string(3073, 'x'))));
}

TEST(FileSizeRules, MayBeOpenAtOneEnd) {
    EXPECT_TRUE(Matches(Rule(Definition(kFileSize, "0-")), TextFile("")));
    EXPECT_TRUE(Matches(Rule(Definition(kFileSize, "-1")), TextFile("x")));
}

TEST(WrongRules, NameTheRuleAndTheMistake) {
    EXPECT_THAT(MistakeIn(kRegex, "a("), HasSubstr("rule \"r\": bad expression: missing )"));
    EXPECT_THAT(MistakeIn(kRegex, "a*"), HasSubstr("matches the empty text"));
    EXPECT_THAT(MistakeIn(kFileName, ";;"), HasSubstr("names nothing"));
    for (char const* range : {"", "-", "5", "9-3", "a-b", "1-2-3", "1 - 2", "99999999999999999999-"}) {
        EXPECT_THAT(MistakeIn(kFileSize, range), HasSubstr("is no size range")) << range;
    }
}

}  // namespace
}  // namespace scanner
