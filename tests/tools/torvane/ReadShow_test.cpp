#include <gmock/gmock.h>

#include <filesystem>

#include "tests/support/BucketCount.h"
#include "tests/tools/torvane/ReadRoot.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class ShowTool : public ReadRoot {};
class WhyTool : public ReadRoot {};

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
    EXPECT_EQ(Run({"why", root_ / "missing", "--template", "T1"}).status, 3);
}

TEST_F(WhyTool, AnsweredWithAMatch) {
    MakeSmallRoot();
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "matched");
    EXPECT_EQ(why["hit"], true);
    EXPECT_EQ(why["index"], TemplateStore("T1") + "/index");
    EXPECT_EQ(Run({"why", root_ / "a.txt", "--template", "T1"}).status, 0);
}

TEST_F(WhyTool, AnsweredAsNotMatched) {
    MakeSmallRoot();
    EXPECT_EQ(Why(File("b.txt", "b"), "T1")["reason"], "not-matched");
}

TEST_F(WhyTool, NeverStored) {
    MakeSmallRoot();
    EXPECT_EQ(Why(File("c.txt", "c"), "T1")["reason"], "never-stored");
    EXPECT_EQ(Run({"why", root_ / "c.txt", "--template", "T1"}).status, 1);
}

TEST_F(WhyTool, TheNameCountsWhereARuleLooksAtNames) {
    DefineByName("T2");
    AsAgent([] { StoreNoMatch("/x/b.txt", kMd5B, "T2"); });
    EXPECT_EQ(Why(File("b.txt", "b"), "T2")["reason"], "not-matched");
    EXPECT_EQ(Why(File("other.txt", "b"), "T2")["reason"], "never-stored");
    EXPECT_EQ(Json({"why", root_ / "other.txt", "--name", "B.TXT", "--template", "T2"})["reason"], "not-matched");
}

TEST_F(WhyTool, TheDefinitionChangedAndWhatDiffers) {
    MakeSmallRoot();
    std::string const before = Items({"ls", "templates"})[0]["md5"];
    Define("T1", "another word");
    AsAgent([] {});
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "definition-changed");
    ASSERT_EQ(why["versions"].size(), 1U);
    EXPECT_EQ(why["versions"][0]["md5"], before);
    EXPECT_EQ(why["versions"][0]["current"], false);
    EXPECT_FALSE(why["versions"][0]["since"].is_null());
    ASSERT_EQ(why["versions"][0]["differences"].size(), 1U);
    EXPECT_EQ(why["versions"][0]["differences"][0]["id"], "rule T1");
    EXPECT_EQ(why["versions"][0]["differences"][0]["change"], "rule text");
    EXPECT_NE(why["current_md5"], before);
}

TEST_F(WhyTool, TheTemplateIsUnknown) {
    MakeSmallRoot();
    EXPECT_EQ(Why(File("a.txt", "a"), "T9")["reason"], "template-unknown");
}

TEST_F(WhyTool, WithoutDefinitionsTheNewestCacheStandsForThem) {
    MakeSmallRoot();
    std::filesystem::remove_all(Root() + "/config");
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "matched");
    EXPECT_EQ(why["definitions_from"], "snapshot");
}

TEST_F(WhyTool, TheKeyCannotBeStored) {
    SetBucketCount(Root(), "1");  // bucket 0 is the only one
    Define("T1");
    AsAgent([] { StoreNoMatch("/x/a.txt", kMd5A, "T1"); });
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["reason"], "key-unstorable");
}

TEST_F(WhyTool, StoredButDamaged) {
    MakeSmallRoot();
    std::string const data = TemplateStore("T1") + "/cache";
    std::string bytes = ReadBytes(data);
    bytes[0] = static_cast<char>(bytes[0] + 1);
    WriteBytes(data, bytes);
    auto const why = Why(File("a.txt", "a"), "T1");
    EXPECT_EQ(why["reason"], "damaged");
    EXPECT_EQ(why["damage"], "record cannot be decoded");
}

TEST_F(WhyTool, ADamagedHeadIsNamed) {
    MakeSmallRoot();
    WriteBytes(TemplateStore("T1") + "/index", "no index");
    EXPECT_EQ(Why(File("a.txt", "a"), "T1")["damage"], "index head is not valid");
}
