// System calls that fail, and processes that die between two of them.
#include <cerrno>
#include <filesystem>

#include "template/DLPCacheTplMgr.h"
#include "tests/support/fault/EveryFault.h"
#include "tests/template/TplFixture.h"

namespace {

using fault::Nothing;
using fault::WithEveryKill;
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

    void WithEveryFault(fault::Step const& before, fault::Step const& work, fault::Step const& check) {
        fault::WithEveryFault(root_.Path(), {EMFILE, EACCES, EIO, ENOMEM}, before, work, check);
    }
    void RemoveAll() const { fs::remove_all(root_ / "cache/template"); }
    void Damage() const {
        RemoveAll();
        Prepare();
        WriteBytes(Dir() + "KeywordFormatItem.arc", "damaged");
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
    WithEveryFault([this] { RemoveAll(); }, [] { AddOne(*Open()); }, [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTplFaultTest, NoFaultWhileReplacingLeavesAnythingUnusable) {
    WithEveryFault([this] { Damage(); }, [] { Open(); }, [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTplFaultTest, FaultyFindIsNeverAWrongAnswer) {
    auto const cache = Open();
    ASSERT_EQ(AddOne(*cache), 1);
    int code = 0;
    WithEveryFault(
        Nothing, [&] { code = FindOne(*cache); }, [&] { EXPECT_THAT(code, AnyOf(2, testing::Lt(0))); });
    EXPECT_EQ(code, 2);
}

TEST_F(DLPCacheTplFaultTest, SnapshotThatCannotBeWrittenGivesNoStore) {
    FaultInjection faults;
    faults.OnlyBelow(root_ / "cache/template");
    faults.FailFrom(SystemCall::kRename, 4, ENOSPC);  // the template file comes last
    auto const cache = Open();
    EXPECT_EQ(FindOne(*cache), -2);
    EXPECT_THAT(Files(Dir()), ElementsAre("KeywordDataClass.arc", "KeywordDataLevel.arc", "KeywordFormatItem.arc"));
}

TEST_F(DLPCacheTplFaultTest, SnapshotThatCannotBeReplacedIsReadOnce) {
    constexpr int kArchives = 4;
    Damage();
    FaultInjection faults;
    faults.OnlyBelow(root_ / "cache/template");
    faults.FailFrom(SystemCall::kUnlink, 1, EACCES);
    DLPCacheTplMgr manager;
    auto const opened = [&] {
        int const before = faults.Count(SystemCall::kOpen);
        EXPECT_EQ(FindOne(*manager.GetCache(Current(), CurrentMd5())), -2);
        return faults.Count(SystemCall::kOpen) - before;
    };
    int const at_first = opened();
    EXPECT_GE(at_first, kArchives);
    EXPECT_EQ(opened(), at_first - kArchives);
    EXPECT_EQ(opened(), at_first - kArchives);
}

TEST_F(DLPCacheTplFaultTest, KilledWhileMakingItRecoversAtTheNextStart) {
    WithEveryKill([this] { RemoveAll(); },
                  [] {
                      DLPCacheTplMgr manager;
                      AddOne(*manager.GetCache(Current(), CurrentMd5()));
                  },
                  [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTplFaultTest, KilledWhileMakingItLeavesNothingBehindAtTheNextStart) {
    WithEveryKill([this] { RemoveAll(); }, [] { Open(); },
                  [this] {
                      DLPCacheTplMgr const manager;
                      // Either the cache is whole or it is gone.
                      EXPECT_THAT(Files(Dir()), AnyOf(IsEmpty(), testing::SizeIs(5)));
                  });
}

TEST_F(DLPCacheTplFaultTest, KilledWhileReplacingADamagedOneRecoversAtTheNextStart) {
    WithEveryKill([this] { Damage(); }, [] { Open(); }, [this] { ExpectUsable(); });
}

TEST_F(DLPCacheTplFaultTest, KilledWhileDeletingLeavesAllOrNothingAtTheNextStart) {
    WithEveryKill(
        [this] {
            RemoveAll();
            Prepare();
        },
        [] {
            DLPCacheTplMgr manager;
            EXPECT_NE(manager.GetCache(Current(), CurrentMd5()), nullptr);
            manager.DeleteCache(CurrentMd5());
        },
        [&] {
            DLPCacheTplMgr manager;
            EXPECT_THAT(Files(Dir()), AnyOf(IsEmpty(), testing::SizeIs(6)));
        });
}

}  // namespace
