#include "tests/tools/torvane/EveryCommand.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <thread>

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

// Files that are being written, for all that can be seen of them.
class ChangingFiles {
  public:
    explicit ChangingFiles(std::vector<std::string> files) : writer_([this, files] { Write(files); }) {}
    ~ChangingFiles() {
        ends_ = true;
        writer_.join();
    }
    ChangingFiles(ChangingFiles const&) = delete;
    ChangingFiles& operator=(ChangingFiles const&) = delete;

  private:
    void Write(std::vector<std::string> const& files) const {
        while (!ends_) {
            for (std::string const& file : files)
                (void)::utimensat(AT_FDCWD, file.c_str(), nullptr, 0);
        }
    }

    std::atomic<bool> ends_ = false;
    std::thread writer_;
};

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
    DamageStores();
    bool const says_no = GetParam().outlives_reader && !Is("repair");
    EXPECT_EQ(tool_.RunIntoClosedPipe(Words()).status, says_no ? 1 : 0);
}

TEST_P(EveryCommand, RefusesALayoutThatItDoesNotKnow) {
    MakeRoot();
    WriteBytes(Root() + "/cache/Version.ini", "[DLP]\ncache=5\n");
    auto const before = EverythingBelow(Root());
    EXPECT_EQ(tool_.Run(Words()).status, Is("tail") ? 0 : Without(6));
    EXPECT_EQ(EverythingBelow(Root()), before);
    EXPECT_FALSE(Exists(Out()));
}

TEST_P(EveryCommand, FollowsItsSchemaInEveryForm) {
    MakeRoot();
    for (bool const damaged : {false, true}) {
        if (damaged) DamageStores();
        for (char const* const form : {"json", "jsonl"}) {
            if (!TakesForm(form)) continue;
            auto words = Words();
            words.insert(words.begin(), {"--show-text", "--format", form});
            std::string const out = tool_.Run(words).out;
            // Lines of nothing are none, and compact refuses what is damaged.
            EXPECT_TRUE(!out.empty() || damaged || form == std::string("jsonl"));
            if (!out.empty()) {
                EXPECT_TRUE(FollowsSchema(out, form)) << out;
            }
            std::filesystem::remove_all(Out());
        }
    }
}

TEST_P(EveryCommand, CannotSayWhatKeepsChanging) {
    MakeRoot();
    DamageStores();
    ChangingFiles const changing(Stores());
    ToolResult const result = tool_.Run(Words());
    EXPECT_EQ(result.status, NeedsAStore() ? 5 : 0) << result.out << result.err;
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
