#include "examples/scanner/TemplateFile.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "examples/scanner/Rule.h"

namespace scanner {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// A templates file with one template, whose rules are given.
std::string FileWithRules(std::string const& rules) {
    return R"({"data_classes": [{"id": "c", "name": "C"}], "data_levels": [{"id": "l", "name": "L", "level": 2}],
               "templates": [{"id": "t", "name": "T", "data_class": "c", "data_level": "l", "rules": [)" +
           rules + "]}]}";
}

std::string MistakeIn(std::string const& json) {
    try {
        KwDefinitions const definitions = ParseTemplates(json, "my.json");
    } catch (TemplateFileError const& error) {
        return error.what();
    }
    return "";
}

TEST(TemplateFiles, BecomeDefinitions) {
    KwDefinitions const definitions = ParseTemplates(
        FileWithRules(R"({"id": "r", "name": "R", "type": "regex", "text": "a+", "description": "d", "min_count": 3})"),
        "my.json");
    auto const& rule = definitions.rules.nodes.at(0);
    EXPECT_EQ(rule.common->id, "r");
    EXPECT_EQ(rule.sub_type, 1002);
    EXPECT_EQ(rule.rule_type, 1);
    EXPECT_EQ(rule.rule_text, "a+");
    EXPECT_EQ(rule.description, "d");
    EXPECT_EQ(rule.min_count, 3);
    auto const& tpl = definitions.templates.nodes.at(0);
    EXPECT_EQ(tpl.data_class_id, "c");
    EXPECT_EQ(tpl.data_level_id, "l");
    EXPECT_THAT(tpl.rule_ids, testing::ElementsAre(HString("r")));
    EXPECT_EQ(definitions.data_levels.nodes.at(0).level, 2);
}

TEST(TemplateFiles, SyntaxErrorsTellLineAndColumn) {
    EXPECT_THAT(MistakeIn("{\n  \"templates\": [,]\n}"), StartsWith("my.json: parse error at line 2, column 17:"));
    EXPECT_THAT(MistakeIn(""), StartsWith("my.json: parse error"));
}

TEST(TemplateFiles, MistakesTellWhereTheyAre) {
    std::string const good = R"({"id": "r", "name": "R", "type": "email"})";
    struct {
        std::string json;
        char const* message;
    } const cases[] = {
        {"[]", "my.json: the file: must be an object"},
        {"{}", "my.json: data_classes: must be an array"},
        {FileWithRules(""), "templates[0].rules: must hold at least one rule"},
        {FileWithRules("7"), "templates[0].rules[0]: must be an object"},
        {FileWithRules(good + "," + good), "templates[0].rules[1]: the id \"r\" occurs twice"},
        {FileWithRules(R"({"id": "r", "name": "R", "type": "mail"})"),
         "rules[0]: unknown type \"mail\" (known: keyword, "},
        {FileWithRules(R"({"id": "r", "name": "R", "type": "keyword"})"), "rules[0]: \"text\" must be a text"},
        {FileWithRules(R"({"id": "r", "name": "R", "type": "email", "text": "x"})"),
         "a rule of type email has no \"text\""},
        {FileWithRules(R"({"id": "r", "name": "R", "type": "email", "mincount": 1})"), "unknown member \"mincount\""},
        {FileWithRules(R"({"id": "r", "name": "R", "type": "email", "min_count": 0})"),
         "\"min_count\" must be a whole"},
        {FileWithRules(R"({"id": "r", "name": "R", "type": "email", "min_count": 1.5})"),
         "\"min_count\" must be a whole"},
        {FileWithRules(R"({"id": "", "name": "R", "type": "email"})"), "\"id\" must not be empty"},
        {R"({"data_classes": [], "data_levels": [], "templates": []})", "templates: must hold at least one template"},
        {R"({"data_classes": [], "data_levels": [],
             "templates": [{"id": "t", "name": "T", "data_class": "c", "data_level": "l", "rules": []}]})",
         "templates[0]: no data_class has the id \"c\""},
    };
    for (auto const& wrong : cases)
        EXPECT_THAT(MistakeIn(wrong.json), HasSubstr(wrong.message)) << wrong.json;
}

TEST(TemplateFiles, ThatAreMissingAreNamed) {
    try {
        KwDefinitions const definitions = LoadTemplates("/nonexistent/my.json");
        FAIL();
    } catch (TemplateFileError const& error) {
        EXPECT_STREQ(error.what(), "/nonexistent/my.json: No such file or directory");
    }
}

TEST(BuiltInTemplateFile, HoldsFiveTemplatesOfThreeLevelsAndSeveralClasses) {
    KwDefinitions const definitions = LoadTemplates("");
    std::set<HString> levels, classes;
    for (auto const& tpl : definitions.templates.nodes) {
        levels.insert(tpl.data_level_id);
        classes.insert(tpl.data_class_id);
    }
    EXPECT_EQ(definitions.templates.nodes.size(), 5U);
    EXPECT_EQ(levels.size(), 3U);
    EXPECT_GE(classes.size(), 3U);
}

TEST(BuiltInTemplateFile, UsesEveryKindOfRuleAndCompiles) {
    std::set<int> kinds;
    for (auto const& definition : LoadTemplates("").rules.nodes)
        kinds.insert(Rule(definition).definition().sub_type);
    EXPECT_THAT(kinds, testing::ElementsAre(1001, 1002, 1006, 1008, 2001, 2002, 2006));
}

}  // namespace
}  // namespace scanner
