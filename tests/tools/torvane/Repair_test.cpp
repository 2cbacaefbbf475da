#include <sys/stat.h>

#include <filesystem>
#include <utility>

#include "tests/tools/torvane/RebuildFixture.h"
#include "tools/torvane/rebuild/RootRebuild.h"

namespace {

namespace fs = std::filesystem;

using testing::IsEmpty;
using testing::SizeIs;

TEST_F(Rebuilding, BothFollowTheirSchemas) {
    EXPECT_TRUE(FollowsSchema(Compact().out, "json"));
    std::filesystem::remove_all(Out());
    Flip(Template() + "/cache", 0);
    EXPECT_TRUE(FollowsSchema(Run({"repair", "--out", Out(), "--format", "jsonl"}).out, "jsonl"));
}

TEST_F(Rebuilding, RepairOfASoundCacheLeavesNothingOut) {
    auto const before = Answers(root_.Path());
    ToolResult const result = Repair();
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(result.Json()["items"], IsEmpty());
    EXPECT_EQ(Answers(Out()), before);
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairLeavesOutWhatTheLibraryWouldThrowAway) {
    Remove(Template() + "/KeywordFormatItem.arc");
    auto const report = Repair().Json();
    EXPECT_EQ(report["items"][0]["file"], Template());
    EXPECT_FALSE(Exists(Out() + "/" + Template()));
    EXPECT_EQ(VerifyOut().status, 0);
}

TEST_F(Rebuilding, RepairMakesAStampThatKeepsTheCache) {
    WriteBytes(root_ / "cache/Version.ini", "damaged");
    ASSERT_EQ(Repair().status, 0);
    EXPECT_EQ(ReadBytes(Out() + "/cache/Version.ini"), "[DLP]\ncache=4\n");
}

TEST_F(Rebuilding, RepairLeavesOutAStoreInWhichSomethingElseStandsForAFileItNeeds) {
    std::string const counts = kCounters;
    std::string const task = kTask;
    auto const damage = [&](std::string const& store, std::string const& file, auto const& make) {
        fs::copy(root_ / store, root_.Path() + "-kept", fs::copy_options::recursive);
        Remove(store + "/" + file);
        make(root_ / (store + "/" + file));
        EXPECT_EQ(Repair().status, 0) << file;
        EXPECT_EQ(VerifyOut().status, 0) << file << VerifyOut().out;
        EXPECT_FALSE(Exists(Out() + "/" + store)) << file;
        fs::remove_all(Out());
        fs::remove_all(root_ / store);
        fs::rename(root_.Path() + "-kept", root_ / store);
    };
    auto const link = [](std::string const& path) { fs::create_symlink("elsewhere", path); };
    damage(counts, "1700000000", link);
    damage(task, "ScanTask.arc", [](std::string const& path) { fs::create_directory(path); });
    damage(Template(), "KeywordFormatItem.arc", link);
    damage(Template(), "KeywordTemplate.arc",
           [](std::string const& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); });
}

TEST_F(Rebuilding, RepairNamesWhatDoesNotBelongAmongTheStores) {
    NotSound();
    fs::create_symlink("task-1", root_ / "cache/task/task-9");
    WriteBytes(root_ / "cache/template/file", "");
    fs::create_directory(root_ / (std::string(kTask) + "/SnapCache"));
    auto const items = Repair().Json()["items"];
    std::vector<std::string> named;
    for (auto const& item : items)
        named.push_back(item["file"]);
    EXPECT_THAT(named, testing::UnorderedElementsAre("cache/task/task-9", "cache/template/file",
                                                     std::string(kTask) + "/SnapCache"));
}

TEST_F(Rebuilding, DefinitionsBehindALinkAreNotCarriedOver) {
    fs::create_directories(root_ / "definitions");
    fs::create_directory_symlink("definitions", root_ / "config");
    auto const items = Repair().Json()["items"];
    ASSERT_THAT(items, SizeIs(1));
    EXPECT_EQ(items[0]["file"], "config");
    fs::remove_all(Out());
    EXPECT_EQ(Compact().status, 1);
    EXPECT_FALSE(Exists(Out()));
}

TEST_F(Rebuilding, RepairGoesOnWhenTheDefinitionsAreALinkToItself) {
    NotSound();
    fs::create_directory_symlink("config", root_ / "config");
    ToolResult const result = Repair();
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.Json()["items"][0]["file"], "config");
}

TEST_F(Rebuilding, DefinitionsThatAreWrittenMeanwhileAreCopiedAgain) {
    fs::create_directories(root_ / "config");
    WriteBytes(root_ / "config/a", "old");
    WriteBytes(root_ / "config/b", "");
    fs::create_directories(Out());
    torvane::CacheRoot const source(root_.Path());
    bool is_written = false;
    auto const write_once = [&](auto, auto, std::string const& where) {
        if (where == "config/b" && !std::exchange(is_written, true)) WriteBytes(root_ / "config/a", "new");
    };
    torvane::RootRebuild(torvane::Purpose::kRepair, source, Out(), {[](auto const&) {}, write_once}).Run();
    EXPECT_TRUE(is_written);
    EXPECT_EQ(ReadBytes(Out() + "/config/a"), "new");
}

}  // namespace
