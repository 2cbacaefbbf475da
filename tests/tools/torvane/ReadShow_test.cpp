#include <gmock/gmock.h>

#include "tests/tools/torvane/ReadRoot.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class ShowTool : public ReadRoot {};

}  // namespace

TEST_F(ShowTool, AFileShowsItsAnswerDecoded) {
    MakeSmallRoot();
    auto const answer = Json({"show", "--file", File("a.txt", "a")});
    EXPECT_EQ(answer["file_md5"], kMd5A);
    ASSERT_EQ(answer["entries"].size(), 1U);
    auto const entry = answer["entries"][0];
    EXPECT_EQ(entry["name"], "stored name");
    EXPECT_EQ(entry["rule_list"][0]["name"], "name of the rule");
    EXPECT_EQ(entry["rule_list"][0]["match_count"], 3);
    EXPECT_EQ(entry["rule_list"][0]["match_text_1_length"], 13);
    EXPECT_EQ(entry["text_length"], 13);
    EXPECT_EQ(entry["data"], TemplateStore("T1") + "/cache");
    EXPECT_EQ(entry["slot_offset"], 27 + (entry["slot"].get<int>() - 1) * 57);
}

TEST_F(ShowTool, MatchTextsAreShownOnlyWhenAskedFor) {
    MakeSmallRoot();
    std::string const file = File("a.txt", "a");
    EXPECT_THAT(Run({"show", "--file", file}).out, Not(HasSubstr("matched words")));
    EXPECT_THAT(Run({"--show-text", "show", "--file", file}).out, HasSubstr("matched words"));
    EXPECT_EQ(Json({"--show-text", "show", "--file", file})["entries"][0]["text"], "a secret text");
}

TEST_F(ShowTool, AKeyIsFoundAsListedAndAsGiven) {
    MakeSmallRoot();
    std::string const listed = Items({"ls", "answers", "--match"})[0]["key"];
    EXPECT_EQ(Json({"show", listed})["entries"][0]["key"], listed);
    EXPECT_EQ(Json({"show", kMd5A})["entries"][0]["key"], listed);
    EXPECT_EQ(Json({"show", "/a"})["entries"][0]["kind"], "counter");
}

TEST_F(ShowTool, AFindingIsFoundByItsNumber) {
    MakeSmallRoot();
    auto const entries = Json({"show", "--task", "t1", "--sn", "1"})["entries"];
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0]["path"], "/x/a.txt");
    EXPECT_EQ(Run({"show", "--task", "t1", "--sn", "2"}).status, 1);
}

TEST_F(ShowTool, WhatIsNotThereIsANo) {
    MakeSmallRoot();
    ToolResult const result = Run({"show", "nothing"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "not found\n");
    EXPECT_EQ(Json({"show", "nothing"})["found"], false);
}

TEST_F(ShowTool, TwoWaysAtOnceAreWrongUsage) {
    MakeSmallRoot();
    EXPECT_EQ(Run({"show"}).status, 2);
    EXPECT_EQ(Run({"show", "key", "--task", "t1", "--sn", "1"}).status, 2);
    EXPECT_EQ(Run({"show", "--task", "t1"}).status, 2);
}

TEST_F(ShowTool, AFileThatCannotBeReadIsNoAnswer) {
    MakeSmallRoot();
    EXPECT_EQ(Run({"show", "--file", root_ / "missing"}).status, 3);
}

TEST_F(ShowTool, PeopleAreToldTheSame) {
    MakeSmallRoot();
    std::string const text = Run({"show", "--file", File("a.txt", "a")}).out;
    for (char const* const line : {"answer\n", "  template:", " T1\n", " stored name\n", "  rule list:", "    id:",
                                   " rule T1\n", " name of the rule\n", "    match text 1 length:", " 13\n",
                                   "  slot offset:", "  offset:", " 0\n", "  state:", " sound\n"})
        EXPECT_THAT(text, HasSubstr(line));
    EXPECT_THAT(text, HasSubstr(TemplateStore("T1") + "/index\n"));
}

TEST_F(ShowTool, OnlyTheTemplateThatWasAskedForIsShown) {
    MakeSmallRoot();
    std::string const file = File("a.txt", "a");
    EXPECT_EQ(Json({"show", "--file", file, "--template", "T1"})["entries"].size(), 1U);
    EXPECT_EQ(Run({"show", "--file", file, "--template", "T9"}).status, 1);
}

TEST_F(ShowTool, AFileIsNotReadWhenItsMd5IsKnown) {
    MakeSmallRoot();
    auto const answer = Json({"show", "--file", root_ / "gone", "--md5", kMd5A});
    EXPECT_EQ(answer["entries"].size(), 1U);
    EXPECT_EQ(answer["file_md5"], kMd5A);
}

TEST_F(ShowTool, AFilesCountsAreShownToo) {
    Define("T1");
    std::string const file = File("counted.txt", "c");
    AsAgent([&] { Count(file, 3); });
    auto const entries = Json({"show", "--file", file})["entries"];
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0]["kind"], "counter");
    EXPECT_EQ(entries[0]["by_policy"], 3);
}

TEST_F(ShowTool, CsvHasARowAnEntry) {
    MakeSmallRoot();
    std::string const text = Run({"--format", "csv", "show", "--task", "t1", "--sn", "1"}).out;
    EXPECT_THAT(text, testing::StartsWith("kind,task,sn,path,"));
    EXPECT_THAT(text, HasSubstr("\nfinding,t1,1,/x/a.txt,"));
}

TEST_F(ShowTool, WhatIsDamagedIsShownAndIsANo) {
    MakeSmallRoot();
    std::string const file = File("a.txt", "a");
    WriteBytes(TemplateStore("T1") + "/cache", "too short");
    ToolResult const result = Run({"--format", "json", "show", "--file", file});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.Json()["entries"][0]["damage"], "record lies outside its data file");
    WriteBytes(TemplateStore("T1") + "/index", "no index");
    EXPECT_THAT(Run({"show", "--file", file}).err, HasSubstr("index head is not valid"));
    EXPECT_EQ(Run({"-q", "show", "--file", file}).err, "");
}

TEST_F(ShowTool, AFindingUnderAnotherNumberIsDamaged) {
    MakeSmallRoot();
    std::string const index = Root() + "/cache/task/t1/index";
    std::string bytes = ReadBytes(index);
    bytes[27] = '2';  // the key of slot 1
    WriteBytes(index, bytes);
    ToolResult const result = Run({"--format", "json", "show", "--task", "t1", "--sn", "1"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.Json()["entries"][0]["damage"], "slot holds another key: 2");
}

TEST_F(ShowTool, CsvOfNothingIsEmpty) {
    MakeSmallRoot();
    ToolResult const result = Run({"--format", "csv", "show", "nothing"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
}

TEST_F(ShowTool, CsvTellsTheMd5OfTheFile) {
    MakeSmallRoot();
    std::string const text = Run({"--format", "csv", "show", "--file", File("a.txt", "a")}).out;
    EXPECT_THAT(text.substr(0, text.find('\n')), testing::EndsWith(",file_md5"));
    EXPECT_THAT(text, testing::EndsWith("," + std::string(kMd5A) + "\n"));
}
