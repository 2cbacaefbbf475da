#include <gmock/gmock.h>

#include <filesystem>

#include "tests/tools/torvane/ListFixture.h"

using testing::HasSubstr;
using testing::Not;

TEST_F(LsTool, AnswersTellTheStoredNameAndWhereTheyLie) {
    MakeSmallRoot();
    auto const rows = Items({"ls", "answers", "--match"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["template"], "T1");
    EXPECT_EQ(rows[0]["name"], "stored name");
    EXPECT_EQ(rows[0]["rules"], 1);
    EXPECT_EQ(rows[0]["offset"], 0);
    EXPECT_EQ(rows[0]["state"], "sound");
}

TEST_F(LsTool, AnswersWithoutAMatchHaveNoName) {
    MakeSmallRoot();
    auto const rows = Items({"ls", "answers", "--no-match"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["matched"], false);
    EXPECT_TRUE(rows[0]["name"].is_null());
    EXPECT_TRUE(rows[0]["offset"].is_null());
}

TEST_F(LsTool, TemplatesTellWhichDefinitionIsCurrent) {
    Define("T1");
    AsAgent([] { StoreNoMatch("/x/b.txt", kMd5B, "T1"); });
    Define("T1", "another word");
    AsAgent([] { StoreNoMatch("/x/a.txt", kMd5A, "T1"); });
    auto const rows = Items({"ls", "templates"});
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_NE(rows[0]["current"], rows[1]["current"]);
    EXPECT_EQ(rows[0]["name"], "template T1");
    EXPECT_EQ(rows[0]["buckets"], 101);
}

TEST_F(LsTool, ASnapshotOfAnotherDefinitionIsDamage) {
    NotSound();
    MakeSmallRoot();
    std::string const store = TemplateStore("T1");
    std::filesystem::rename(store, Root() + "/cache/template/T1/00000000000000000000000000000000");
    ToolResult const result = Run({"--format", "json", "ls", "templates"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.Json()["items"][0]["damage"],
              "snapshot is of another definition: " + std::filesystem::path(store).filename().string());
}

TEST_F(LsTool, ATaskRecordUnderAnotherNameIsDamage) {
    NotSound();
    MakeSmallRoot();
    std::filesystem::rename(Root() + "/cache/task/t1", Root() + "/cache/task/t2");
    ToolResult const result = Run({"--format", "json", "ls", "tasks"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.Json()["items"][0]["damage"], "task record names another id: t1");
}

TEST_F(LsTool, TasksTellTheirPolicyAndTheirFindings) {
    MakeSmallRoot();
    auto const rows = Items({"ls", "tasks"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["id"], "t1");
    EXPECT_EQ(rows[0]["status"], "running");
    EXPECT_EQ(rows[0]["started"], "2023-11-14T22:13:20Z");
    EXPECT_EQ(rows[0]["policy"], "p1");
    EXPECT_EQ(rows[0]["findings"], 1);
}

TEST_F(LsTool, FindingsTellFileAndTimes) {
    MakeSmallRoot();
    auto const rows = Items({"ls", "findings", "--task", "t1"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["sn"], 1);
    EXPECT_EQ(rows[0]["path"], "/x/a.txt");
    EXPECT_EQ(rows[0]["size"], 12);
    EXPECT_EQ(rows[0]["found"], "2023-11-14T22:13:23Z");
    EXPECT_EQ(rows[0]["verdict_length"], 16);
}

TEST_F(LsTool, AFileCountedTwiceIsOneCounter) {
    MakeSmallRoot();
    auto const rows = Items({"ls", "counters"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["policy"], "p1");
    EXPECT_EQ(rows[0]["policy_version"], 1700000000);
    EXPECT_EQ(rows[0]["by_policy"], 2);
    EXPECT_EQ(rows[0]["tool"], 0);
}

TEST_F(LsTool, TextsTellTheirNamesAndLengths) {
    MakeSmallRoot();
    auto const rows = Items({"ls", "texts"});
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0]["name"], "text/1");
    EXPECT_EQ(rows[0]["text_length"], 13);
    EXPECT_EQ(rows[0]["positions"], 2);
}

TEST_F(LsTool, TextsAreShownOnlyWhenAskedFor) {
    MakeSmallRoot();
    for (char const* const what : {"answers", "findings", "texts"}) {
        ToolResult const result = Run({"--format", "json", "ls", what});
        EXPECT_THAT(result.out, Not(HasSubstr("secret"))) << what;
        EXPECT_THAT(result.out, Not(HasSubstr("matched words"))) << what;
    }
    EXPECT_EQ(Items({"--show-text", "ls", "texts"})[0]["text"], "a secret text");
    EXPECT_EQ(Items({"--show-text", "ls", "findings"})[0]["verdict"], "a secret verdict");
}

TEST_F(LsTool, LimitEndsTheList) {
    MakeSmallRoot();
    auto const list = Json({"ls", "answers", "--limit", "1"});
    EXPECT_EQ(list["items"].size(), 1U);
    EXPECT_EQ(list["rows"], 1);
    EXPECT_EQ(list["limited"], true);
    EXPECT_EQ(Json({"ls", "answers"})["limited"], false);
}

TEST_F(LsTool, AFilterThatNamesNothingIsANo) {
    MakeSmallRoot();
    EXPECT_EQ(Run({"ls", "answers", "--template", "T9"}).status, 1);
    EXPECT_EQ(Run({"ls", "answers", "--template", "T1"}).status, 0);
}

TEST_F(LsTool, AFilterThatDoesNotApplyIsWrongUsage) {
    MakeSmallRoot();
    EXPECT_EQ(Run({"ls", "counters", "--template", "T1"}).status, 2);
    EXPECT_EQ(Run({"ls", "templates", "--match"}).status, 2);
    EXPECT_EQ(Run({"ls", "nothing"}).status, 2);
}

TEST_F(LsTool, ADamagedRecordIsNamedAndTheRestListed) {
    MakeSmallRoot();
    WriteBytes(TemplateStore("T1") + "/cache", "too short");
    ToolResult const result = Run({"--format", "json", "ls", "answers"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.Json()["items"].size(), 2U);
    EXPECT_THAT(result.out, HasSubstr("record lies outside its data file"));
}

TEST_F(LsTool, ADamagedIndexIsNamedOnStderr) {
    MakeSmallRoot();
    WriteBytes(TemplateStore("T1") + "/index", "no index");
    ToolResult const result = Run({"ls", "answers"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("index head is not valid"));
}

TEST_F(LsTool, TasksThatAreRemovedMeanwhileAreLeftOut) {
    MakeThreeTasks();
    auto const [status, rows] = ListWhileRemoved(torvane::Listed::kTasks, Root() + "/cache/task", "id");
    EXPECT_EQ(status, torvane::ExitStatus::kYes);
    EXPECT_EQ(rows.size(), 1U);
}

TEST_F(LsTool, TemplatesThatAreRemovedMeanwhileAreLeftOut) {
    MakeTwoTemplates();
    auto const [status, rows] = ListWhileRemoved(torvane::Listed::kTemplates, Root() + "/cache/template", "id");
    EXPECT_EQ(status, torvane::ExitStatus::kYes);
    EXPECT_EQ(rows.size(), 1U);
}

TEST_F(LsTool, TextsThatAreRemovedMeanwhileAreLeftOut) {
    Define("T1");
    AsAgent([] {
        AddTask("t1");
        for (char const* const name : {"a", "b", "c"})
            AddText("t1", name);
    });
    auto const [status, rows] = ListWhileRemoved(torvane::Listed::kTexts, Root() + "/cache/task/t1/text", "name");
    EXPECT_EQ(status, torvane::ExitStatus::kYes);
    EXPECT_EQ(rows.size(), 1U);
}
