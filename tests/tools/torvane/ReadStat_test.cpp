#include <gmock/gmock.h>

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <thread>

#include "front/DLPCacheMgr.h"
#include "tests/support/BucketCount.h"
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
    // The next line that comes out of a pipe.
    static std::string Line(int fd) {
        std::string line;
        for (char c = 0; c != '\n' && ::read(fd, &c, 1) == 1;)
            line += c;
        return line;
    }
    // Within AsAgent: no match under a content of this number; one key in as many as there are buckets is refused.
    static void StoreIfPossible(int number) {
        QVKKeywordMatchNode node;
        node.file_node->file_path = HString("/x/f");
        node.file_node->file_md5 = HString(number).get_md5_std_format_lower(HString());
        node.unmatched_tpl_ids = {HString("T1")};
        (void)DLPCacheMgr::pins()->AddMatchNode(node);
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

TEST_F(StatTool, ALogThatMayNotBeLookedAtIsNotEmpty) {
    MakeSmallRoot();
    std::filesystem::create_directories(Root() + "/log");
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root_.Path()))
        std::filesystem::permissions(entry.path(), std::filesystem::perms(entry.is_directory() ? 0755 : 0644));
    std::filesystem::permissions(root_.Path(), std::filesystem::perms(0755));
    for (std::string const& closed : {Root() + "/log", Root() + "/cache/task/t1/text"}) {
        // Names can be listed there and nothing can be looked at.
        std::filesystem::permissions(closed, std::filesystem::perms(0744));
        auto const result = tool_.RunUnprivileged({"--root", Root(), "stat"});
        std::filesystem::permissions(closed, std::filesystem::perms(0755));
        if (!result) GTEST_SKIP() << "nobody else can start the program here";
        EXPECT_EQ(result->status, 3) << closed;
    }
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

TEST_F(StatTool, WatchWritesOneHeadOfCsvAndNoDocuments) {
    MakeSmallRoot();
    ToolResult const result = Run({"--format", "csv", "stat", "--watch", "0.1", "--rounds", "3"});
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 1 + 3 * 5);
    EXPECT_EQ(result.out.find("kind,"), result.out.rfind("kind,"));
    EXPECT_EQ(Run({"--format", "json", "stat", "--watch", "0.1", "--rounds", "3"}).status, 2);
}

TEST_F(StatTool, WatchOutlivesACacheThatIsRemovedAndComesBack) {
    MakeSmallRoot();
    int out = -1;
    pid_t const child = tool_.Start({"--root", Root(), "--format", "jsonl", "stat", "--watch", "0.1"}, out);
    EXPECT_THAT(Line(out), HasSubstr("\"log_bytes\":0"));
    std::filesystem::rename(Root() + "/cache", root_ / "elsewhere");
    while (ReadBytes(root_ / "stderr").find("no cache at") == std::string::npos)
        std::this_thread::yield();
    std::filesystem::rename(root_ / "elsewhere", Root() + "/cache");
    std::filesystem::create_directories(Root() + "/log");
    WriteBytes(Root() + "/log/DLPCache.log", "a line\n");
    std::string line;
    do {
        line = Line(out);
    } while (!line.empty() && line.find("\"log_bytes\":7") == std::string::npos);
    EXPECT_NE(line, "");
    (void)::kill(child, SIGTERM);
    EXPECT_EQ(Tool::Wait(child), 0);
    ::close(out);
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

// What counts of an index: where each slot leads.
class StatOfAnIndex : public StatTool {
  protected:
    static constexpr std::size_t kHead = 27;
    static constexpr std::size_t kSlot = 57;
};

TEST_F(StatOfAnIndex, ChainsAreCountedByTheirSlots) {
    SetBucketCount(Root(), "3");  // bucket 0 holds nothing: two are left
    Define("T1");
    AsAgent([] {
        for (char const c : std::string("abcdefghijkl"))
            StoreIfPossible(c);
    });
    std::string const index = ReadBytes(TemplateStore("T1") + "/index");
    std::uint64_t const slots = (index.size() - kHead) / kSlot;
    auto const found = Kind("template");
    EXPECT_EQ(found["buckets"], 3);
    EXPECT_EQ(found["buckets_used"], 2);
    EXPECT_EQ(found["chain_slots"], slots - 1);  // the last of the table, bucket 0's, is unused
    EXPECT_EQ(found["records"], slots - 1);
    EXPECT_EQ(found["wasted_slots"], 0);
    EXPECT_DOUBLE_EQ(found["mean_chain"].get<double>(), static_cast<double>(slots - 1) / 2);
    EXPECT_GE(found["longest_chain"].get<double>(), found["mean_chain"].get<double>());
}

TEST_F(StatOfAnIndex, TheMeanHasTwoDigits) {
    Define("T1");
    AsAgent([] {
        Count("/a", 1);
        Count("/b", 1);
        Count("/c", 2);
    });
    EXPECT_EQ(Kind("counter")["buckets_used"], 3);
    EXPECT_EQ(Kind("counter")["mean_chain"], 1.33);
    EXPECT_EQ(Kind("counter")["longest_chain"], 2);
}

TEST_F(StatOfAnIndex, ALongChainOfManyKeysCountsEachOnce) {
    SetBucketCount(Root(), "2");
    Define("T1");
    AsAgent([] {
        for (int i = 0; i < 300; ++i)
            StoreIfPossible(i);
    });
    std::uint64_t const slots = (ReadBytes(TemplateStore("T1") + "/index").size() - kHead) / kSlot;
    EXPECT_EQ(Kind("template")["records"], slots - 1);
    EXPECT_EQ(Kind("template")["wasted_slots"], 0);
    EXPECT_EQ(Kind("template")["longest_chain"], slots - 1);
}

TEST_F(StatOfAnIndex, ASlotThatNoChainLeadsToIsWasted) {
    MakeSmallRoot();
    std::string const index = TemplateStore("T1") + "/index";
    std::string const bytes = ReadBytes(index);
    auto const slot = Items({"ls", "answers", "--match"})[0]["slot"].get<std::size_t>();
    WriteBytes(index, bytes + bytes.substr(kHead + (slot - 1) * kSlot, kSlot));
    EXPECT_EQ(Kind("template")["records"], 2);
    EXPECT_EQ(Kind("template")["wasted_slots"], 1);
    EXPECT_EQ(Kind("template")["longest_chain"], 1);
}

TEST_F(StatOfAnIndex, AKeyInAnotherBucketsChainIsNoRecord) {
    MakeSmallRoot();
    std::string const index = TemplateStore("T1") + "/index";
    std::string bytes = ReadBytes(index);
    auto const slot = Items({"ls", "answers", "--match"})[0]["slot"].get<std::size_t>();
    std::size_t const other = slot == 1 ? 2 : 1;  // unused, or else it would be the other answer's
    bytes.replace(kHead + (other - 1) * kSlot, kSlot, bytes.substr(kHead + (slot - 1) * kSlot, kSlot));
    WriteBytes(index, bytes);
    EXPECT_EQ(Kind("template")["records"], 2);
    EXPECT_EQ(Kind("template")["wasted_slots"], 1);
}

TEST_F(StatOfAnIndex, ARecordOutsideItsFileIsNotLive) {
    MakeSmallRoot();
    std::string const data = TemplateStore("T1") + "/cache";
    std::string const bytes = ReadBytes(data);
    WriteBytes(data, bytes.substr(1));
    EXPECT_EQ(Kind("template")["live_bytes"], 0);
    EXPECT_EQ(Kind("template")["dead_bytes"], bytes.size() - 1);
}

TEST_F(StatTool, TheSumIsThatOfTheKinds) {
    MakeSmallRoot();
    auto const answer = Json({"stat"});
    for (char const* const member :
         {"stores", "damaged_stores", "records", "with_data", "empty", "live_bytes", "dead_bytes", "overhead_bytes",
          "buckets", "buckets_used", "chain_slots", "wasted_slots"}) {
        std::uint64_t sum = 0;
        for (auto const& kind : answer["kinds"])
            sum += kind[member].get<std::uint64_t>();
        EXPECT_EQ(answer["sum"][member], sum) << member;
    }
    EXPECT_EQ(answer["sum"]["stores"], 4);
    EXPECT_EQ(answer["sum"]["records"], 5);
    EXPECT_EQ(answer["sum"]["longest_chain"], 2);  // the counter's
}

TEST_F(StatTool, PeopleAreToldEveryFigure) {
    MakeSmallRoot();
    std::filesystem::create_directories(Root() + "/log");
    WriteBytes(Root() + "/log/DLPCache.log", "a line\n");
    WriteBytes(Root() + "/log/DLPCache.log.old", "two\nlines\n");
    std::string const text = Run({"stat"}).out;
    for (char const* const title :
         {"STORES", "RECORDS", "WITH DATA", "EMPTY", "LIVE BYTES", "DEAD BYTES", "OVERHEAD BYTES", "BUCKETS", "USED",
          "LONGEST", "MEAN", "\ntemplate ", "\ntask ", "\ncounter ", "\ntext ", "\nsum ",
          "\nversion stamp: 3.2306.4.13.1, cache layout 4\n", "\nlog: 7 bytes, old log: 10 bytes\n"})
        EXPECT_THAT(text, HasSubstr(title));
}

TEST_F(StatTool, ARootWithoutAStampHasNone) {
    MakeSmallRoot();
    std::filesystem::remove(Root() + "/cache/Version.ini");
    EXPECT_THAT(Run({"stat"}).out, HasSubstr("\nversion stamp: none\n"));
    EXPECT_EQ(Run({"stat"}).status, 0);
}

TEST_F(StatTool, AnIndexThatIsMissingIsDamageAndOneThatNeverWasIsNone) {
    MakeSmallRoot();
    std::filesystem::remove(TemplateStore("T1") + "/index");
    EXPECT_EQ(Kind("template")["damaged_stores"], 1);
    std::filesystem::remove(TemplateStore("T1") + "/cache");
    EXPECT_EQ(Kind("template")["damaged_stores"], 0);
    EXPECT_EQ(Run({"stat"}).status, 0);
}
