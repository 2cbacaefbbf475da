// ls: what is half removed, unreadable, damaged or not what belongs there.
#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>

#include "front/DLPCacheMgr.h"
#include "host/base/Murmur3.h"
#include "tests/tools/torvane/ListFixture.h"

using testing::HasSubstr;
using testing::Not;

TEST_F(LsTool, WhatAKillLeavesIsNoDamage) {
    MakeSmallRoot();
    std::filesystem::remove(TemplateStore("T1") + "/KeywordTemplate.arc");
    std::filesystem::create_directory(Root() + "/cache/task/new");
    std::filesystem::remove(Root() + "/cache/sensrecord/1/p1/index");
    EXPECT_EQ(Run({"ls", "templates"}).status, 0);
    EXPECT_EQ(Items({"ls", "templates"}).size(), 0U);
    EXPECT_EQ(Run({"ls", "tasks"}).status, 0);
    EXPECT_EQ(Items({"ls", "tasks"}).size(), 1U);
    EXPECT_EQ(Run({"ls", "counters"}).status, 0);
    EXPECT_EQ(Run({"stat"}).status, 0);
}

TEST_F(LsTool, ATemplateCacheThatIsHalfRemovedHasNoAnswers) {
    NotSound();
    MakeSmallRoot();
    std::string const store = TemplateStore("T1");
    std::string const file = File("a.txt", "a");
    for (char const* const name : {"KeywordTemplate.arc", "cache", "index"}) {
        std::filesystem::remove(store + "/" + name);
        SCOPED_TRACE(name);
        EXPECT_EQ(Run({"ls", "answers"}).status, 0);
        EXPECT_EQ(Items({"ls", "answers"}).size(), 0U);
        EXPECT_EQ(Run({"export", "templates", "answers"}).out, "");
        EXPECT_EQ(Run({"export"}).status, 0);
        ToolResult const shown = Run({"show", "--file", file});
        EXPECT_EQ(shown.status, 1);
        EXPECT_EQ(shown.out + shown.err, "not found\n");
        EXPECT_EQ(Run({"stat"}).status, 0);
        EXPECT_EQ(Json({"stat"})["kinds"][0]["records"], 0);
        EXPECT_EQ(Json({"stat"})["kinds"][0]["live_bytes"], 0);
    }
}

TEST_F(LsTool, ATemplateCacheWithoutItsIndexIsHalfRemovedToo) {
    NotSound();
    MakeSmallRoot();
    std::filesystem::remove(TemplateStore("T1") + "/KeywordTemplate.arc");
    std::filesystem::remove(TemplateStore("T1") + "/index");
    EXPECT_EQ(Run({"ls", "answers"}).status, 0);
    EXPECT_EQ(Run({"stat"}).status, 0);
    EXPECT_GT(Json({"stat"})["kinds"][0]["dead_bytes"], 0);
}

TEST_F(LsTool, ATaskThatIsHalfRemovedHasNoFindings) {
    NotSound();
    MakeSmallRoot();
    std::filesystem::remove(Root() + "/cache/task/t1/cache");
    ToolResult const listed = Run({"ls", "findings"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.err, "torvane: task t1: half removed, the data file of its findings is gone\n");
    EXPECT_EQ(Items({"ls", "findings"}).size(), 0U);
    EXPECT_EQ(Run({"export", "findings"}).out, "");
    ToolResult const shown = Run({"show", "--task", "t1", "--sn", "1"});
    EXPECT_EQ(shown.status, 1);
    EXPECT_EQ(shown.out, "not found\n");
    EXPECT_THAT(shown.err, HasSubstr("half removed"));
    EXPECT_EQ(Run({"-q", "show", "--task", "t1", "--sn", "1"}).err, "");
    EXPECT_EQ(Run({"stat"}).status, 0);
}

TEST_F(LsTool, EntriesBehindABrokenLinkAreDamage) {
    std::size_t const slots = MakeOneChain();
    std::string const lost =
        std::to_string(slots - 2) + " entries cannot be reached";  // of the table's two one is used
    Change(TemplateStore("T1") + "/index", [](std::string& bytes) { bytes[27 + 49] += 3; });
    ToolResult const listed = Run({"--format", "json", "ls", "answers"});
    EXPECT_EQ(listed.status, 1);
    EXPECT_EQ(listed.Json()["items"].size(), 1U);
    EXPECT_THAT(listed.err, HasSubstr("a chain is damaged, " + lost));
    ToolResult const exported = Run({"export"});
    EXPECT_EQ(exported.status, 1);
    EXPECT_THAT(exported.err, HasSubstr(lost));
}

TEST_F(LsTool, EntriesBehindAnEmptiedSlotAreDamage) {
    std::size_t const slots = MakeOneChain();
    Change(TemplateStore("T1") + "/index", [](std::string& bytes) { bytes.replace(27, 57, std::string(57, '\0')); });
    ToolResult const listed = Run({"ls", "answers"});
    EXPECT_EQ(listed.status, 1);
    EXPECT_THAT(listed.err, HasSubstr(std::to_string(slots - 2) + " entries cannot be reached"));
}

TEST_F(LsTool, ASlotThatWasNotLinkedIsNoDamage) {
    (void)MakeOneChain();
    std::size_t const before = Items({"ls", "answers"}).size();
    // Another key of the same bucket.
    Change(TemplateStore("T1") + "/index", [](std::string& bytes) {
        std::string slot = bytes.substr(bytes.size() - 57, 49) + std::string(8, '\0');
        bool found = false;
        for (char digit : std::string("0123456789abcdef")) {
            slot[0] = digit;
            found = bytes.find(slot.substr(0, 32)) == std::string::npos && Varnok::Murmur3_32(slot.data(), 32) % 2 == 1;
            if (found) break;
        }
        EXPECT_TRUE(found);
        bytes += slot;
    });
    EXPECT_EQ(Run({"ls", "answers"}).status, 0);
    EXPECT_EQ(Items({"ls", "answers"}).size(), before);
}

TEST_F(LsTool, EmptiedSlotsOfFindingsAreDamage) {
    Define("T1");
    AsAgent([] {
        AddTask("t1");
        for (char const* const path : {"/x/1", "/x/2", "/x/3", "/x/4", "/x/5"})
            AddFinding("t1", path);
    });
    std::string const index = Root() + "/cache/task/t1/index";
    std::string const whole = ReadBytes(index);
    auto const expect = [&](std::size_t first, std::size_t count, std::string const& told) {
        Change(index, [&](std::string& bytes) {
            bytes = whole;
            bytes.replace(27 + (first - 1) * 57, count * 57, std::string(count * 57, '\0'));
        });
        ToolResult const listed = Run({"--format", "json", "ls", "findings"});
        EXPECT_EQ(listed.status, 1);
        EXPECT_EQ(listed.Json()["items"].size(), 5 - count);
        EXPECT_THAT(listed.err, HasSubstr(told));
    };
    expect(2, 1, "task t1: 1 entry cannot be read, the slots are empty");
    expect(2, 2, "2 entries cannot be read");
    expect(5, 1, "1 entry cannot be read");
}

TEST_F(LsTool, AnIndexThatIsCutIsDamagedAndTheRestListed) {
    NotSound();
    MakeSmallRoot();
    std::string const counters = Root() + "/cache/sensrecord/1/p1/index";
    auto const entries = Items({"ls", "counters"}).size();
    ASSERT_EQ(entries, 1U);
    std::filesystem::resize_file(counters, std::filesystem::file_size(counters) - 10 * 57);
    ToolResult const result = Run({"ls", "counters"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("index is cut, entries are missing"));
    EXPECT_EQ(Items({"ls", "counters"}).size(), entries);
    EXPECT_EQ(Run({"stat"}).status, 1);
}

TEST_F(LsTool, ATemplateWhoseIndexIsDamagedIsNotSound) {
    NotSound();
    MakeSmallRoot();
    std::string const index = TemplateStore("T1") + "/index";
    std::filesystem::resize_file(index, std::filesystem::file_size(index) - 1);
    EXPECT_EQ(Items({"ls", "templates"})[0]["damage"], "index is cut, entries are missing");
    WriteBytes(index, std::string(27, '\xff'));
    EXPECT_EQ(Items({"ls", "templates"})[0]["damage"], "index head is not valid");
    EXPECT_EQ(Run({"ls", "templates"}).status, 1);
}

TEST_F(LsTool, FindingsThatCannotBeCountedAreNotKnown) {
    NotSound();
    MakeSmallRoot();
    std::string const index = Root() + "/cache/task/t1/index";
    WriteBytes(index, "no index but longer than the head of one, and than a slot: no index, no index, no index");
    EXPECT_TRUE(Items({"ls", "tasks"})[0]["findings"].is_null());
    EXPECT_EQ(Items({"ls", "tasks"})[0]["damage"], "index head is not valid");
    EXPECT_EQ(Run({"ls", "tasks"}).status, 1);
    std::filesystem::remove(index);
    EXPECT_EQ(Items({"ls", "tasks"})[0]["findings"], 0);
    EXPECT_EQ(Run({"ls", "tasks"}).status, 0);
    ASSERT_EQ(::mkfifo(index.c_str(), 0600), 0);
    EXPECT_TRUE(Items({"ls", "tasks"})[0]["findings"].is_null());
    EXPECT_EQ(Run({"export", "tasks"}).status, 1);
    WriteBytes(TemplateStore("T1") + "/index", "no index but longer than the head of one");
    EXPECT_TRUE(Items({"ls", "templates"})[0]["buckets"].is_null());
}

TEST_F(LsTool, AnIndexThatMayNotBeReadIsNotEmpty) {
    MakeSmallRoot();
    std::string const stores[] = {Root() + "/cache/task/t1", TemplateStore("T1")};
    for (std::string const& store : stores) {
        auto const result = RunWithout(store + "/index", {"ls", store == stores[0] ? "tasks" : "templates"});
        if (!result) GTEST_SKIP() << "nobody else can start the program here";
        EXPECT_EQ(result->status, 3);
        EXPECT_THAT(result->err, HasSubstr("Permission denied"));
    }
}

TEST_F(LsTool, AnotherTemplateThatMayNotBeReadIsInNobodysWay) {
    MakeTwoTemplates();
    std::string const file = File("b.txt", "b");
    std::string const closed = Root() + "/cache/template/T2";
    for (std::vector<std::string> const& words : {std::vector<std::string>{"why", file, "--template", "T1"},
                                                  {"show", "--file", file, "--template", "T1"},
                                                  {"ls", "answers", "--template", "T1"}}) {
        auto const result = RunWithout(closed, words);
        if (!result) GTEST_SKIP() << "nobody else can start the program here";
        EXPECT_EQ(result->status, 0) << words[0] << result->err;
    }
    auto const all = RunWithout(closed, {"show", "--file", file});
    EXPECT_EQ(all->status, 3);
    EXPECT_THAT(all->err, HasSubstr("Permission denied"));
    EXPECT_EQ(all->Json()["entries"].size(), 1U);
}

TEST_F(LsTool, CountsWithoutAMarkerAreDamage) {
    NotSound();
    MakeSmallRoot();
    std::filesystem::remove(Root() + "/cache/sensrecord/1/p1/1700000000");
    EXPECT_EQ(Run({"ls", "counters"}).status, 1);
    EXPECT_EQ(Items({"ls", "counters"})[0]["damage"], "nothing tells which version of the policy these counts are of");
    EXPECT_EQ(Items({"ls", "counters"})[0]["by_policy"], 2);
}

TEST_F(LsTool, WhatStandsInADirectorysPlaceIsTold) {
    NotSound();
    MakeSmallRoot();
    auto const expect = [&](std::string const& directory, char const* listed) {
        std::string const path = Root() + "/cache/" + directory;
        std::filesystem::rename(path, root_ / "elsewhere");
        EXPECT_EQ(Run({"ls", listed}).err, "") << "nothing stands there";
        std::filesystem::create_directory_symlink(root_ / "elsewhere", path);
        EXPECT_EQ(Run({"ls", listed}).err, "torvane: " + path + " is no directory\n");
        EXPECT_EQ(Run({"-q", "ls", listed}).err, "");
        std::filesystem::remove(path);
        std::filesystem::rename(root_ / "elsewhere", path);
    };
    expect("template", "answers");
    expect("template/T1", "templates");
    expect("task", "tasks");
    expect("task/t1", "findings");
    expect("task/t1/text", "texts");
    expect("sensrecord", "counters");
    expect("sensrecord/1", "counters");
    expect("sensrecord/1/p1", "counters");
}

TEST_F(LsTool, FindingsWithoutATasksRecordAreDamage) {
    NotSound();
    MakeSmallRoot();
    std::filesystem::remove(Root() + "/cache/task/t1/ScanTask.arc");
    EXPECT_EQ(Run({"ls", "tasks"}).status, 1);
    EXPECT_EQ(Items({"ls", "tasks"})[0]["damage"], "task record is missing");
    EXPECT_TRUE(Items({"ls", "tasks"})[0]["templates"].is_null());
}

TEST_F(LsTool, WhatCannotBeReadIsLeftOutAndTold) {
    MakeTwoTemplates();
    auto const result = RunWithout(TemplateStore("T1"), {"ls", "answers"});
    if (!result) GTEST_SKIP() << "nobody else can start the program here";
    EXPECT_EQ(result->status, 3);
    EXPECT_THAT(result->err, HasSubstr("Permission denied"));
    ASSERT_EQ(result->Json()["items"].size(), 1U);
    EXPECT_EQ(result->Json()["items"][0]["template"], "T2");
}

TEST_F(LsTool, CountersThatCannotBeReadAreLeftOutAndTold) {
    MakeSmallRoot();
    auto const result = RunWithout(Root() + "/cache/sensrecord/1/p1", {"ls", "counters"});
    if (!result) GTEST_SKIP() << "nobody else can start the program here";
    EXPECT_EQ(result->status, 3);
    EXPECT_EQ(result->Json()["items"].size(), 0U);
}

TEST_F(LsTool, DamagedDefinitionsOfTheAgentLeaveCurrentOpen) {
    NotSound();
    MakeSmallRoot();
    WriteBytes(Root() + "/config/KeywordFormatItem.arc", "no archive");
    ToolResult const result = Run({"--format", "json", "ls", "templates"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("the agent's definitions are damaged"));
    EXPECT_TRUE(result.Json()["items"][0]["current"].is_null());
}

TEST_F(LsTool, DefinitionsWithoutATimeAreThere) {
    MakeSmallRoot();
    struct timespec const times[2] = {{0, 0}, {0, 0}};
    for (std::string const& directory : {TemplateStore("T1"), Root() + "/config"})
        ASSERT_EQ(::utimensat(AT_FDCWD, (directory + "/KeywordTemplate.arc").c_str(), times, 0), 0);
    auto const rows = Items({"ls", "templates"});
    EXPECT_EQ(rows[0]["state"], "sound");
    EXPECT_EQ(rows[0]["current"], true);
}

TEST_F(LsTool, TimesHaveFourDigitsOfAYear) {
    EXPECT_EQ(torvane::TimeOf(-59011459200), "0100-01-01T00:00:00Z");
    EXPECT_EQ(torvane::TimeOf(253402300799), "9999-12-31T23:59:59Z");
    EXPECT_TRUE(torvane::TimeOf(253402300800).is_null());
    EXPECT_TRUE(torvane::TimeOf(0).is_null());
}

TEST_F(LsTool, WhatADamagedTextHoldsIsNotKnown) {
    MakeSmallRoot();
    std::string const directory = Root() + "/cache/task/t1/text";
    WriteBytes(directory + "/" + Files(directory).front(), "no archive");
    auto const rows = Items({"ls", "texts"});
    EXPECT_EQ(rows[0]["state"], "damaged");
    for (char const* const member : {"text_template", "lines", "positions", "text_length", "text_path"})
        EXPECT_TRUE(rows[0][member].is_null()) << member;
}

TEST_F(LsTool, WhatADamagedFindingHoldsIsNotKnown) {
    MakeSmallRoot();
    WriteBytes(Root() + "/cache/task/t1/cache", "too short");
    auto const rows = Items({"ls", "findings"});
    EXPECT_EQ(rows[0]["state"], "damaged");
    for (char const* const member : {"path", "templates", "verdict_length", "extra_length"})
        EXPECT_TRUE(rows[0][member].is_null()) << member;
}

TEST_F(LsTool, ALimitOfNothingStillFindsWhatTheFilterNames) {
    MakeSmallRoot();
    EXPECT_EQ(Run({"ls", "answers", "--template", "T1", "--limit", "0"}).status, 0);
    EXPECT_EQ(Run({"ls", "answers", "--template", "T9", "--limit", "0"}).status, 1);
}

TEST_F(LsTool, StoresBehindALinkAreNotLookedAt) {
    NotSound();
    MakeSmallRoot();
    std::filesystem::rename(Root() + "/cache/sensrecord", root_ / "elsewhere");
    std::filesystem::create_directory_symlink(root_ / "elsewhere", Root() + "/cache/sensrecord");
    EXPECT_EQ(Items({"ls", "counters"}).size(), 0U);
}

TEST_F(LsTool, AnEmptyCacheHasNoRows) {
    AsAgent([] { (void)DLPCacheMgr::pins(); });
    for (char const* const what : {"templates", "answers", "tasks", "findings", "counters", "texts"})
        EXPECT_EQ(Items({"ls", what}).size(), 0U) << what;
}

TEST_F(LsTool, ANameWithControlCharactersIsEscaped) {
    Define("T1");
    AsAgent([] {
        AddTask("t\x1b[31m");
        AddFinding("t\x1b[31m", "/x/\x1b[2J\xff.txt");
    });
    EXPECT_THAT(Run({"ls", "findings"}).out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(Run({"ls", "findings"}).out, HasSubstr("\\xFF"));
    EXPECT_EQ(Items({"ls", "findings"}).size(), 1U);
}
