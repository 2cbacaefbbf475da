// System calls that fail, and processes that die between two of them.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "template/DLPCacheTplMgr.h"
#include "tests/support/fault/FaultInjection.h"
#include "tests/template/TplFixture.h"

namespace {

using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

class DLPCacheTplFaultTest : public TplFixture {
  protected:
    DLPCacheTplFaultTest() {
        DLPCacheTplMgr const stamped;  // the version stamp first: what follows does not concern it
    }

    static int AddOne(DLPCacheTpl const& cache) {
        return cache.Add(HString("key"), TwoItems(), MakeText("text"), "name");
    }
    static int FindOne(DLPCacheTpl const& cache) { return FindIn(cache, HString("key")).code; }
    static void Prepare() { ASSERT_EQ(AddOne(*Open()), 1); }

    using Step = std::function<void()>;
    static void Nothing() {}

    // Runs `work` with every system call failing in turn, with all of its kind that follow, for several reasons.
    // `before` comes before each run and `check` after it.
    void WithEveryFault(Step const& before, Step const& work, Step const& check) {
        for (int call = 0; call < static_cast<int>(SystemCall::kSize); ++call) {
            for (int const error : {EMFILE, EACCES, EIO, ENOMEM}) {
                for (int nth = 1;; ++nth) {
                    SCOPED_TRACE(testing::Message() << "call " << call << " number " << nth << " errno " << error);
                    before();
                    if (!RunOne(work, static_cast<SystemCall>(call), nth, error)) break;
                    check();
                    if (HasFailure()) return;
                }
            }
        }
    }

    // Runs `work` in a child that dies at each change of the file system in turn; `check` comes after each.
    void WithEveryKill(Step const& work, Step const& check) {
        for (int nth = 1; Killed(work, nth); ++nth) {
            SCOPED_TRACE(testing::Message() << "killed at change " << nth);
            check();
            if (HasFailure()) return;
        }
    }

    // The state from which everything goes on: the manager starts, the cache answers and takes an answer.
    void ExpectUsable() {
        DLPCacheTplMgr manager;
        DLPCacheTpl* const cache = manager.GetCache(Current(), CurrentMd5());
        ASSERT_NE(cache, nullptr);
        int const found = FindOne(*cache);
        EXPECT_THAT(found, AnyOf(0, 2));
        if (found == 0) {
            EXPECT_EQ(AddOne(*cache), 1);
        }
        EXPECT_EQ(FindOne(*cache), 2);
        EXPECT_THAT(Files(Dir()), ElementsAre("KeywordDataClass.arc", "KeywordDataLevel.arc", "KeywordFormatItem.arc",
                                              "KeywordTemplate.arc", "cache", "index"));
    }

  private:
    // False when the work makes fewer than `nth` such calls.
    bool RunOne(Step const& work, SystemCall call, int nth, int error) {
        FaultInjection faults;
        faults.OnlyBelow(root_.Path());
        faults.FailFrom(call, nth, error);
        work();
        return faults.Fired() > 0;
    }

    static bool Killed(Step const& work, int nth) {
        pid_t const child = fork();
        if (child == 0) {
            FaultInjection faults;
            faults.KillAtChange(nth);
            work();
            _exit(0);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) || WIFEXITED(status));
        return WIFSIGNALED(status);
    }
};

TEST_F(DLPCacheTplFaultTest, NoFaultWhileOpeningDeletesAnything) {
    Prepare();
    auto const before = Files(Dir());
    WithEveryFault(
        Nothing, [] { Open(); },
        [&] {
            EXPECT_EQ(Files(Dir()), before);
            EXPECT_EQ(FindOne(*Open()), 2);
        });
}

TEST_F(DLPCacheTplFaultTest, NoFaultAtStartDeletesAnything) {
    Prepare();
    auto const before = Files(Dir());
    WithEveryFault(
        Nothing, [] { DLPCacheTplMgr const manager; },
        [&] {
            EXPECT_EQ(Files(Dir()), before);
            EXPECT_EQ(FindOne(*Open()), 2);
        });
}

TEST_F(DLPCacheTplFaultTest, NoFaultWhileMakingLeavesAnythingUnusable) {
    WithEveryFault([this] { fs::remove_all(root_ / "cache/template"); }, [] { AddOne(*Open()); },
                   [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTplFaultTest, NoFaultWhileReplacingLeavesAnythingUnusable) {
    WithEveryFault(
        [this] {
            fs::remove_all(root_ / "cache/template");
            Prepare();
            WriteBytes(Dir() + "KeywordFormatItem.arc", "damaged");
        },
        [] { Open(); }, [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTplFaultTest, FaultyFindIsNeverAWrongAnswer) {
    auto const cache = Open();
    ASSERT_EQ(AddOne(*cache), 1);
    int code = 0;
    WithEveryFault(
        Nothing, [&] { code = FindOne(*cache); }, [&] { EXPECT_THAT(code, AnyOf(2, testing::Lt(0))); });
}

TEST_F(DLPCacheTplFaultTest, SnapshotThatCannotBeWrittenGivesNoStore) {
    FaultInjection faults;
    faults.OnlyBelow(root_ / "cache/template");
    faults.FailFrom(SystemCall::kRename, 4, ENOSPC);  // the template file comes last
    auto const cache = Open();
    EXPECT_EQ(FindOne(*cache), -2);
    EXPECT_THAT(Files(Dir()), ElementsAre("KeywordDataClass.arc", "KeywordDataLevel.arc", "KeywordFormatItem.arc"));
}

TEST_F(DLPCacheTplFaultTest, KilledWhileMakingItRecoversAtTheNextStart) {
    WithEveryKill(
        [] {
            DLPCacheTplMgr manager;
            AddOne(*manager.GetCache(Current(), CurrentMd5()));
        },
        [this] {
            ExpectUsable();
            fs::remove_all(root_ / "cache/template");
        });
}

TEST_F(DLPCacheTplFaultTest, KilledWhileMakingItLeavesNothingBehindAtTheNextStart) {
    WithEveryKill([] { Open(); },
                  [this] {
                      DLPCacheTplMgr const manager;
                      // Either the cache is whole or it is gone.
                      std::vector<std::string> const files = Files(Dir());
                      EXPECT_THAT(files, AnyOf(IsEmpty(), testing::SizeIs(5)));
                      fs::remove_all(root_ / "cache/template");
                  });
}

TEST_F(DLPCacheTplFaultTest, KilledWhileReplacingADamagedOneRecoversAtTheNextStart) {
    auto const damage = [this] {
        fs::remove_all(root_ / "cache/template");
        Prepare();
        WriteBytes(Dir() + "KeywordFormatItem.arc", "damaged");
    };
    damage();
    WithEveryKill([] { Open(); },
                  [&] {
                      ExpectUsable();
                      damage();
                  });
}

TEST_F(DLPCacheTplFaultTest, KilledWhileDeletingLeavesAllOrNothingAtTheNextStart) {
    Prepare();
    WithEveryKill(
        [] {
            DLPCacheTplMgr manager;
            EXPECT_NE(manager.GetCache(Current(), CurrentMd5()), nullptr);
            manager.DeleteCache(CurrentMd5());
        },
        [&] {
            DLPCacheTplMgr manager;
            std::vector<std::string> const files = Files(Dir());
            EXPECT_THAT(files, AnyOf(IsEmpty(), testing::SizeIs(6)));
            if (files.empty()) Prepare();
        });
}

}  // namespace
