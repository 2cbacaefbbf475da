// verify, repair and compact while four threads of an agent write answers, findings and counts, and add and remove
// tasks.
#include <gmock/gmock.h>

#include <filesystem>

#include "task/DLPCacheTaskMgr.h"
#include "tests/tools/torvane/BusyAgent.h"
#include "tests/tools/torvane/ReadRoot.h"

namespace {

using testing::AnyOf;

constexpr int kMostTurns = 200000;
constexpr int kRounds = 20;

class LiveRoot : public ReadRoot {
  protected:
    LiveRoot() { MakeSmallRoot(); }
    ~LiveRoot() override { std::filesystem::remove_all(Out()); }

    [[nodiscard]] std::string Out() const { return root_ / "out"; }

    static void Work(int turn) {
        std::string const number = std::to_string(turn);
        switch (turn % 5) {
            case 0:
                return StoreMatch("/x/" + number, HString(number).get_md5_std_format(HString()).get_str(), "T1");
            case 1:
                return StoreNoMatch("/x/" + number, HString(number).get_md5_std_format(HString()).get_str(), "T1");
            case 2:
                return AddFinding("t1", "/x/" + number);
            case 3:
                return CountOnce("/x/" + std::to_string(turn % 50));
            default:
                break;
        }
        std::string const id = "short-lived " + std::to_string(turn % 3) + number;
        AddTask(id);
        AddFinding(id, "/x/" + number);
        AddText(id, "text");
        ScanTask const* const task = DLPCacheTaskMgr::pins()->GetTask(HString(id));
        if (task != nullptr) DLPCacheTaskMgr::pins()->DelTask(*task);
    }
    [[nodiscard]] auto AnAgent() const {
        return [this](std::function<void()> const& work) { AsAgent(work); };
    }

    // The new root of a run that came to its end is sound.
    void ExpectSoundOrBusy(char const* command) const {
        ToolResult const result = Run({command, "--out", Out()});
        EXPECT_THAT(result.status, AnyOf(0, 5)) << result.out << result.err;
        EXPECT_EQ(std::filesystem::exists(Out()), result.status == 0);
        if (result.status != 0) return;
        ToolResult const verified = tool_.Run({"verify", "--root", Out()});
        EXPECT_EQ(verified.status, 0) << command << ": " << verified.out << verified.err;
        std::filesystem::remove_all(Out());
    }
};

TEST_F(LiveRoot, HasNoDamage) {
    BusyAgent const agent(AnAgent(), Work, kMostTurns);
    for (int round = 0; round < kRounds; ++round) {
        ToolResult const result = Run({"verify"});
        EXPECT_THAT(result.status, AnyOf(0, 5)) << result.out << result.err;
    }
}

TEST_F(LiveRoot, HasNoDamageForTheQuickCheck) {
    BusyAgent const agent(AnAgent(), Work, kMostTurns);
    for (int round = 0; round < kRounds; ++round) {
        ToolResult const result = Run({"verify", "--quick"});
        EXPECT_THAT(result.status, AnyOf(0, 5)) << result.out << result.err;
    }
}

TEST_F(LiveRoot, IsRepairedIntoASoundOneOrBusy) {
    BusyAgent const agent(AnAgent(), Work, kMostTurns);
    for (int round = 0; round < 5; ++round)
        ExpectSoundOrBusy("repair");
}

TEST_F(LiveRoot, IsCompactedIntoASoundOneOrBusy) {
    BusyAgent const agent(AnAgent(), Work, kMostTurns);
    for (int round = 0; round < 5; ++round)
        ExpectSoundOrBusy("compact");
}

}  // namespace
