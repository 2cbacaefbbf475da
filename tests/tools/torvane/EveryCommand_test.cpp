#include "tests/tools/torvane/EveryCommand.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "front/DLPCacheMgr.h"
#include "tests/support/BucketCount.h"
#include "tests/tools/torvane/BusyAgent.h"

using testing::AnyOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr int kMostTurns = 20000;  // of an agent, so that no root grows without end
constexpr int kRounds = 3;         // of a command against an agent

std::string Sum(int number) {
    return HString(number).get_md5_std_format_lower(HString()).get_str();
}

}  // namespace

TEST_P(EveryCommand, FindsNoCacheAtARootThatIsMissing) {
    std::string const nowhere = root_ / "nowhere";
    EXPECT_EQ(tool_.Run(Words(nowhere)).status, Without(4));
    EXPECT_FALSE(Exists(nowhere));
    EXPECT_FALSE(Exists(Out()));
}

TEST_P(EveryCommand, FindsNoCacheInAnEmptyDirectory) {
    std::string const empty = root_ / "empty";
    std::filesystem::create_directory(empty);
    EXPECT_EQ(tool_.Run(Words(empty)).status, Without(4));
    EXPECT_TRUE(std::filesystem::is_empty(empty));
    EXPECT_FALSE(Exists(Out()));
}

TEST_P(EveryCommand, FindsNoCacheAtARootThatIsAFile) {
    std::string const file = File("file", "content");
    EXPECT_EQ(tool_.Run(Words(file)).status, Without(4));
    EXPECT_EQ(ReadBytes(file), "content");
    EXPECT_FALSE(Exists(Out()));
}

TEST_P(EveryCommand, AnswersForACacheThatIsEmpty) {
    AsAgent([] { (void)DLPCacheMgr::pins(); });
    bool const is_no = Is("show") || Is("why") || Is("tail");  // nothing stored, no log
    ToolResult const result = tool_.Run(Words());
    EXPECT_EQ(result.status, is_no ? 1 : 0) << result.err;
}

TEST_P(EveryCommand, CannotLookWhereItMayNot) {
    MakeRoot();
    for (std::string const& path : {root_.Path(), Root()})
        ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
    std::vector<std::string> const closed{Root() + "/cache", Root() + "/log"};
    for (std::string const& path : closed)
        ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    auto const result = tool_.RunUnprivileged(Words());
    for (std::string const& path : closed)
        ASSERT_EQ(::chmod(path.c_str(), 0700), 0);
    if (!result) GTEST_SKIP() << "nobody else can start the program here";
    EXPECT_EQ(result->status, Without(3)) << result->err;
    if (GetParam().needs_cache) {
        EXPECT_THAT(result->err, HasSubstr("Permission denied"));
    }
}

TEST_P(EveryCommand, CannotLookIntoAStoreThatItMayNotRead) {
    MakeRoot();
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root_.Path()))
        std::filesystem::permissions(entry.path(), std::filesystem::perms(entry.is_directory() ? 0755 : 0644));
    ASSERT_EQ(::chmod(root_.Path().c_str(), 0777), 0);  // for what repair and compact make
    for (std::string const& directory :
         {TemplateStore("T1"), Root() + "/cache/task/t1", Root() + "/cache/sensrecord/1/p1"})
        ASSERT_EQ(::chmod(directory.c_str(), 0), 0);
    ASSERT_EQ(::chmod((Root() + "/log/DLPCache.log").c_str(), 0), 0);
    auto const result = tool_.RunUnprivileged(Words());
    for (std::string const& directory :
         {TemplateStore("T1"), Root() + "/cache/task/t1", Root() + "/cache/sensrecord/1/p1"})
        ASSERT_EQ(::chmod(directory.c_str(), 0700), 0);
    if (!result) GTEST_SKIP() << "nobody else can start the program here";
    EXPECT_EQ(result->status, Without(3)) << result->err;
}

TEST_P(EveryCommand, ReadsACopyOfSomebodyElsesCache) {
    MakeRoot();
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root_.Path()))
        std::filesystem::permissions(entry.path(), std::filesystem::perms(entry.is_directory() ? 0755 : 0644));
    ASSERT_EQ(::chmod(root_.Path().c_str(), 0777), 0);
    auto const words = Words();
    if (Exists(root_ / "a.txt")) {
        ASSERT_EQ(::chmod((root_ / "a.txt").c_str(), 0644), 0);
    }
    auto const result = tool_.RunUnprivileged(words);
    if (!result) GTEST_SKIP() << "nobody else can start the program here";
    EXPECT_EQ(result->status, 0) << result->err;
}

TEST_P(EveryCommand, EndsQuietlyWhenNobodyReads) {
    MakeRoot();
    ToolResult const result = tool_.RunIntoClosedPipe(Words());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(Exists(Out() + "/cache"), Is("repair") || Is("compact"));
}

TEST_P(EveryCommand, KeepsItsStatusWhenNobodyReads) {
    MakeRoot();
    std::vector<std::string> const files{TemplateStore("T1") + "/index", Root() + "/cache/task/t1/index",
                                         Root() + "/cache/sensrecord/1/p1/index"};
    for (std::string const& file : files)
        WriteBytes(file, "no index");
    bool const says_no = GetParam().outlives_reader && !Is("repair");
    EXPECT_EQ(tool_.RunIntoClosedPipe(Words()).status, says_no ? 1 : 0);
}

TEST_P(EveryCommand, FindsNothingDamagedWhileFourThreadsWrite) {
    SetBucketCount(Root(), "1009");
    MakeRoot();
    auto const work = [](int turn) {
        std::string const sum = Sum(turn);
        switch (turn % 4) {
            case 0:
                return StoreMatch("/x/" + sum, sum, "T1");
            case 1:
                return StoreNoMatch("/x/" + sum, Sum(turn - 1), "T1");  // in the place of a match
            case 2:
                return AddFinding("t1", "/x/" + sum);
            default:
                return CountOnce("/x/" + std::to_string(turn % 100));
        }
    };
    BusyAgent const agent([this](auto const& run) { AsAgent(run); }, work, kMostTurns);
    for (int round = 0; round < kRounds; ++round) {
        auto words = Words();
        char const* const form = Is("export") || Is("stat") ? "jsonl" : "json";
        words.insert(words.begin(), {"--format", form});
        ToolResult const result = tool_.Run(words);
        EXPECT_THAT(result.status, AnyOf(0, 5)) << result.out << result.err;
        EXPECT_THAT(result.out, Not(HasSubstr("\"damaged\""))) << result.err;
        EXPECT_THAT(result.out, Not(ContainsRegex("\"damage\": ?\""))) << result.err;
        EXPECT_THAT(result.out, Not(HasSubstr("\"severity\":\"damage\"")));
        if (result.status == 0 && !Is("completion")) {
            EXPECT_TRUE(FollowsSchema(result.out, form));
        }
        std::filesystem::remove_all(Out());
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, EveryCommand, testing::ValuesIn(EveryCall()), NameOfCall);
