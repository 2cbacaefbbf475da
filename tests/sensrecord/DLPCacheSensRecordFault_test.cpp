// System calls that fail, and a process that dies between them.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/support/fault/FaultInjection.h"

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::AnyOf;
using testing::Ge;
using testing::Le;

class SensRecordFaultTest : public SensRecordFixture {
  protected:
    using Step = std::function<void()>;
    static void Nothing() {}

    // Runs `work` with every system call below the root failing in turn, alone and with all of its kind that follow.
    // `before` comes before each run and `check` after it.
    void WithEveryFault(Step const& before, Step const& work, Step const& check) {
        for (int call = 0; call < static_cast<int>(SystemCall::kSize); ++call) {
            for (bool const from_there : {false, true}) {
                for (int nth = 1;; ++nth) {
                    SCOPED_TRACE(testing::Message() << "call " << call << " number " << nth << " on " << from_there);
                    before();
                    if (!RunOne(work, static_cast<SystemCall>(call), nth, from_there)) break;
                    check();
                    if (HasFailure()) return;
                }
            }
        }
    }

    // Runs `work` in a child that dies at each change of the file system in turn; `check` comes after each.
    void WithEveryKill(Step const& before, Step const& work, Step const& check) {
        for (int nth = 1;; ++nth) {
            SCOPED_TRACE(testing::Message() << "killed at change " << nth);
            before();
            bool const killed = Killed(work, nth);
            check();
            if (!killed || HasFailure()) return;
        }
    }

    void StartOver() {
        fs::remove_all(root_ / "cache");
        SetStamp(kStamp);
    }

  private:
    // False when the work makes fewer than `nth` such calls.
    bool RunOne(Step const& work, SystemCall call, int nth, bool from_there) {
        FaultInjection faults;
        faults.OnlyBelow(root_.Path());
        if (from_there) {
            faults.FailFrom(call, nth, EIO);
        } else {
            faults.Fail(call, nth, EIO);
        }
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
        return WIFSIGNALED(status);
    }
};

TEST_F(SensRecordFaultTest, FaultyCountLosesAtMostItself) {
    CountTimes(2, "/of others");
    int counted = 0;
    int others = 2;
    WithEveryFault(
        Nothing, [&] { counted = Count("/a.txt"); },
        [&] {
            EXPECT_THAT(counted, Ge(1));
            // What could not be read counts from zero, so the last result bounds the next.
            EXPECT_THAT(Count("/a.txt"), Ge(counted));
            EXPECT_EQ(Count("/of others"), ++others);
        });
}

TEST_F(SensRecordFaultTest, NoFaultShowsCountsOfAnotherVersion) {
    WithEveryFault(
        [this] {
            StartOver();
            CountTimes(3, "/a.txt");
            CountTimes(1, "/b.txt");
            SetStamp(kStamp + 1);
        },
        [this] { EXPECT_EQ(Count("/a.txt"), 1); },
        [this] {
            EXPECT_THAT(Count("/a.txt"), AnyOf(1, 2));
            EXPECT_EQ(Count("/b.txt"), 1);
            EXPECT_EQ(CountLater("/b.txt"), 2);
        });
}

TEST_F(SensRecordFaultTest, NoFaultAtTheFirstCountLeavesAnythingUnusable) {
    WithEveryFault([this] { StartOver(); }, [this] { EXPECT_EQ(Count("/a.txt"), 1); },
                   [this] {
                       int const counted = Count("/a.txt");
                       EXPECT_THAT(counted, AnyOf(1, 2));
                       EXPECT_EQ(Count("/a.txt"), counted + 1);
                       EXPECT_EQ(CountLater("/a.txt"), counted + 2);
                   });
}

TEST_F(SensRecordFaultTest, NoFaultWhenOpeningDeletesAnything) {
    CountTimes(3, "/a.txt");
    int others = 0;
    WithEveryFault(
        Nothing, [this] { CountLater("/b.txt"); }, [&] { EXPECT_EQ(CountLater("/a.txt"), 4 + others++); });
}

TEST_F(SensRecordFaultTest, KilledWhileMakingTheStoreGoesOn) {
    WithEveryKill([this] { StartOver(); }, [this] { CountLater("/a.txt"); },
                  [this] {
                      int const counted = CountLater("/a.txt");
                      EXPECT_THAT(counted, AnyOf(1, 2));
                      EXPECT_EQ(CountLater("/a.txt"), counted + 1);
                      EXPECT_EQ(CountLater("/b.txt"), 1);
                  });
}

TEST_F(SensRecordFaultTest, KilledWhileCountingLosesAtMostOne) {
    int counted = 0;
    WithEveryKill(
        Nothing, [this] { CountLater("/a.txt"); },
        [&] {
            int const next = CountLater("/a.txt");
            EXPECT_THAT(next, AllOf(Ge(counted + 1), Le(counted + 2)));
            counted = next;
        });
}

TEST_F(SensRecordFaultTest, KilledWhileTheVersionChangesShowsNoneOfTheOldCounts) {
    WithEveryKill(
        [this] {
            StartOver();
            CountTimes(5, "/a.txt");
            CountTimes(3, "/b.txt");
            SetStamp(kStamp + 1);
        },
        [this] { CountLater("/a.txt"); },
        [this] {
            EXPECT_THAT(CountLater("/a.txt"), AnyOf(1, 2));
            EXPECT_EQ(CountLater("/b.txt"), 1);
        });
}

TEST_F(SensRecordFaultTest, KilledWhileTheVersionChangesNeverMixesFiles) {
    // The policy goes back to what it was: its counts are there whole, or gone.
    WithEveryKill(
        [this] {
            StartOver();
            CountTimes(5, "/a.txt");
            CountTimes(3, "/b.txt");
            SetStamp(kStamp + 1);
        },
        [this] { CountLater("/a.txt"); },
        [this] {
            SetStamp(kStamp);
            EXPECT_EQ(CountLater("/new.txt"), 1);
            EXPECT_THAT(CountLater("/b.txt"), AnyOf(1, 4));
            EXPECT_THAT(CountLater("/a.txt"), AnyOf(1, 6));
        });
}

}  // namespace
