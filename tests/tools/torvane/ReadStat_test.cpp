#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "tests/tools/torvane/ReadRoot.h"

using testing::HasSubstr;

namespace {

class StatTool : public ReadRoot {
  protected:
    [[nodiscard]] nlohmann::ordered_json Kind(std::string const& name) const {
        auto const answer = Json({"stat"});
        for (auto const& kind : answer["kinds"]) {
            if (kind["kind"] == name) return kind;
        }
        return {};
    }
};

}  // namespace

TEST_F(StatTool, CountsEachKindOfStore) {
    MakeSmallRoot();
    auto const templates = Kind("template");
    EXPECT_EQ(templates["stores"], 1);
    EXPECT_EQ(templates["records"], 2);
    EXPECT_EQ(templates["with_data"], 1);
    EXPECT_EQ(templates["empty"], 1);
    EXPECT_EQ(templates["buckets"], 101);
    EXPECT_EQ(templates["dead_bytes"], 0);
    EXPECT_EQ(Kind("task")["records"], 1);
    EXPECT_EQ(Kind("text")["records"], 1);
}

TEST_F(StatTool, FurtherSlotsOfACounterAreWasted) {
    Define("T1");
    AsAgent([] { Count("/a", 5); });
    auto const counters = Kind("counter");
    EXPECT_EQ(counters["records"], 1);
    EXPECT_EQ(counters["wasted_slots"], 4);
    EXPECT_EQ(counters["longest_chain"], 5);
    EXPECT_EQ(counters["live_bytes"], 16);
    EXPECT_EQ(counters["mean_chain"], 5.0);
}

TEST_F(StatTool, BytesThatNoKeyNamesAreDead) {
    MakeSmallRoot();
    std::string const data = TemplateStore("T1") + "/cache";
    WriteBytes(data, ReadBytes(data) + "dead");
    EXPECT_EQ(Kind("template")["dead_bytes"], 4);
}

TEST_F(StatTool, BytesAreThoseOfTheFiles) {
    MakeSmallRoot();
    auto const sum = Json({"stat"})["sum"];
    std::uint64_t bytes = 0;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(Root() + "/cache")) {
        if (entry.is_regular_file() && entry.path().filename() != "Version.ini") bytes += entry.file_size();
    }
    EXPECT_EQ(sum["live_bytes"].get<std::uint64_t>() + sum["dead_bytes"].get<std::uint64_t>() +
                  sum["overhead_bytes"].get<std::uint64_t>(),
              bytes);
}

TEST_F(StatTool, TellsTheStampAndTheLog) {
    MakeSmallRoot();
    std::filesystem::create_directories(Root() + "/log");
    WriteBytes(Root() + "/log/DLPCache.log", "a line\n");
    EXPECT_EQ(Json({"stat"})["stamp"]["cache"], "4");
    EXPECT_EQ(Json({"stat"})["log_bytes"], 7);
    EXPECT_THAT(Run({"stat"}).out, HasSubstr("3.2306.4.13.1, cache layout 4"));
}

TEST_F(StatTool, AStoreWithoutAValidHeadIsDamaged) {
    MakeSmallRoot();
    WriteBytes(TemplateStore("T1") + "/index", "no index");
    EXPECT_EQ(Run({"stat"}).status, 1);
    EXPECT_EQ(Kind("template")["damaged_stores"], 1);
}

TEST_F(StatTool, AChainThatRunsInACircleEnds) {
    Define("T1");
    AsAgent([] { Count("/a", 3); });
    std::string const index = Root() + "/cache/sensrecord/1/p1/index";
    std::string bytes = ReadBytes(index);
    std::string const link = bytes.substr(bytes.size() - 57 + 49 - 57, 8);  // of the slot before the last, to the last
    bytes.replace(bytes.size() - 8, 8, link);
    WriteBytes(index, bytes);
    EXPECT_EQ(Kind("counter")["records"], 1);
    EXPECT_EQ(Kind("counter")["longest_chain"], 3);
}

TEST_F(StatTool, WatchLooksAgain) {
    MakeSmallRoot();
    ToolResult const result = Run({"--format", "jsonl", "stat", "--watch", "0.1", "--rounds", "3"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3);
    EXPECT_TRUE(FollowsSchema(result.out, "jsonl"));
}

TEST_F(StatTool, AMissingCacheIsTold) {
    EXPECT_EQ(Run({"stat"}).status, 4);
    EXPECT_EQ(tool_.Run({"--root", root_ / "nowhere", "stat"}).status, 4);
}

TEST_F(StatTool, AnotherLayoutIsTold) {
    MakeSmallRoot();
    WriteBytes(Root() + "/cache/Version.ini", "[DLP]\ncache=5\n");
    EXPECT_EQ(Run({"stat"}).status, 6);
    EXPECT_EQ(Run({"ls", "answers"}).status, 6);
}
