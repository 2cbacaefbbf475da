// System calls that fail, and a process that dies between them.
#include <cerrno>
#include <filesystem>

#include "tests/sensrecord/SensRecordFixture.h"
#include "tests/support/fault/EveryFault.h"

namespace {

namespace fs = std::filesystem;
using fault::Nothing;
using fault::WithEveryKill;
using testing::AllOf;
using testing::AnyOf;
using testing::Ge;
using testing::Le;

class SensRecordFaultTest : public SensRecordFixture {
  protected:
    void WithEveryFault(fault::Step const& before, fault::Step const& work, fault::Step const& check) {
        fault::WithEveryFault(root_.Path(), {EIO}, before, work, check);
    }
    void StartOver() {
        fs::remove_all(root_ / "cache");
        SetStamp(kStamp);
    }
    // Counts of one version, and then the policy has another.
    void StartOverAndChange() {
        StartOver();
        CountTimes(5, "/a.txt");
        CountTimes(3, "/b.txt");
        SetStamp(kStamp + 1);
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
    WithEveryKill([this] { StartOverAndChange(); }, [this] { CountLater("/a.txt"); },
                  [this] {
                      EXPECT_THAT(CountLater("/a.txt"), AnyOf(1, 2));
                      EXPECT_EQ(CountLater("/b.txt"), 1);
                  });
}

TEST_F(SensRecordFaultTest, KilledWhileTheVersionChangesNeverMixesFiles) {
    // The policy goes back to what it was: its counts are there whole, or gone.
    WithEveryKill([this] { StartOverAndChange(); }, [this] { CountLater("/a.txt"); },
                  [this] {
                      SetStamp(kStamp);
                      EXPECT_EQ(CountLater("/new.txt"), 1);
                      EXPECT_THAT(CountLater("/b.txt"), AnyOf(1, 4));
                      EXPECT_THAT(CountLater("/a.txt"), AnyOf(1, 6));
                  });
}

}  // namespace
